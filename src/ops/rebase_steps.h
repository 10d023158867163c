// What starting a rebase and going on with one share.
#pragma once

#include <string>

#include "gitbind/frame.h"

namespace uwugit {

inline constexpr char kHead[] = "HEAD";

// How an attempt ended.
struct Outcome {
  std::size_t operations = 0;
  std::size_t counted = 0;    // operations that were committed or need no commit
  std::size_t failed_at = 0;  // the first operation that libgit2 did not give, counted from 1
  int rc = 0;                 // why not
  std::string error;

  bool operator==(const Outcome&) const = default;
};

// The general error of a rebase, and libgit2's own.
void fail_rebase(GitCall& call);

// Commits the operations that are left. False, and all reported, when one of them cannot be
// committed: the rebase stays in progress. `outcome` comes with the number of operations.
bool commit_operations(GitCall& call, git_rebase* rebase, const git_signature* signature,
                       Outcome* outcome, git_oid* last_commit);

}  // namespace uwugit
