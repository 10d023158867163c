// The frame that every exported git function follows: an optional first value of the result, a
// pool, libgit2 loaded and initialised; on leaving, libgit2 shut down. The pool stays with the
// host, which recycles it once it holds no block.
#pragma once

#include "gitbind/compatibility.h"
#include "gitbind/release.h"
#include "module/arguments.h"
#include "module/pool.h"
#include "uwugit/return_codes.h"

namespace uwugit {

// Where operations differ in the frame.
struct FrameRules {
  const char* pool_name;          // null: the operation needs no pool
  bool is_result_preset;          // -1 before anything else; else the host's value stays
  bool is_load_failure_reported;  // "Unable to load" after the loader's own lines
  double failure;                 // what fail() writes
};

class GitCall {
 public:
  GitCall(const FrameRules& rules, double* result);
  ~GitCall();
  GitCall(const GitCall&) = delete;
  GitCall& operator=(const GitCall&) = delete;

  // Whether libgit2 is loaded, usable and initialised. If not, the function returns at once.
  bool is_ready() const { return is_initialised_; }

  // A step failed: writes the operation's failure code and logs libgit2's error.
  void fail();

  HostPool* pool = nullptr;
  GitModule* git = nullptr;
  double* result;

 private:
  double failure_;
  bool is_initialised_ = false;
};

// Opens the call's repository, whose path is NUL-terminated. When that fails, it writes -1 and the
// "Unable to open" error, and libgit2's own is not reported.
bool open_local_repo(GitCall& call, const char* path, git_repository** repo);

}  // namespace uwugit
