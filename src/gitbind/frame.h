// The frame that every exported git function follows: an optional first value of the result, a
// pool, libgit2 loaded and initialised; on leaving, libgit2 shut down. The pool stays with the
// host, which recycles it once it holds no block.
#pragma once

#include <optional>

#include "gitbind/broken_pipe.h"
#include "gitbind/compatibility.h"
#include "gitbind/release.h"
#include "module/arguments.h"
#include "module/messages.h"
#include "module/pool.h"
#include "module/vector_stubs.h"
#include "uwugit/return_codes.h"

namespace uwugit {

// Where an operation deviates from the frame that most share.
struct FrameRules {
  const char* pool_name;                 // null: the operation needs no pool
  bool is_result_preset = false;         // -1 before anything else; else the host's value stays
  bool is_load_failure_reported = true;  // "Unable to load" after the loader's own lines
  bool is_any_version_taken = false;     // also a libgit2 whose records are not known
  bool is_broken_pipe_held_off = false;  // for operations that write to a server
  double failure = kFailure;             // what fail() writes
  // Logged with the path when the repository cannot be opened. kGitError asks for libgit2's own
  // error instead, and null for silence.
  const char* opening_error = message::kUnableToOpen;
};

class GitCall {
 public:
  // `return_code` is the host's and is written only by what is described here as writing it.
  GitCall(const FrameRules& rules, const HostArgumentBlock* arguments, double* return_code);
  ~GitCall();
  GitCall(const GitCall&) = delete;
  GitCall& operator=(const GitCall&) = delete;

  // Whether all is there that the operation needs. If not, the function returns at once.
  bool is_ready() const { return is_ready_; }

  operator GitModule*() const { return git; }

  // A text argument, copied into the pool for as long as the answer lives.
  PoolText text(int position) const { return {pool, text_argument(arguments, position)}; }
  // The same behind a prefix.
  PoolText text(const char* prefix, int position) const {
    return {pool, prefix, text_argument(arguments, position)};
  }
  std::int32_t number(int position) const { return number_argument(arguments, position); }
  // Arguments that the caller supplied.
  std::int64_t count() const { return arguments->count; }

  // The operation failed: writes its failure code and logs libgit2's error, or the given one.
  void fail() const;
  void fail(const char* error, const char* subject = "") const;
  // The operation ends early and the return code stays as the host set it: libgit2's error only.
  void give_up() const { log_git_error(git); }
  // The operation is done: 0 and a note.
  template <class... Subjects>
  void succeed(const char* note, Subjects... subjects) const {
    *result = kSuccess;
    xpslog(note, subjects...);
  }

  const HostArgumentBlock* arguments;
  double* result;
  HostPool* pool = nullptr;
  GitModule* git = nullptr;

 protected:
  const FrameRules& rules_;
  bool is_ready_ = false;  // libgit2 is loaded, usable and initialised

 private:
  std::optional<BrokenPipeGuard> broken_pipe_guard_;
};

// A call on the repository whose path is its first argument. Ready when that is open, too.
class RepoCall : public GitCall {
 public:
  RepoCall(const FrameRules& rules, const HostArgumentBlock* arguments, double* return_code);

  const PoolText path;
  Held<git_repository> repo;
};

}  // namespace uwugit
