// What starting a rebase and going on with one share.
#pragma once

#include <string>

#include "gitbind/frame.h"

namespace uwugit {

// How far the operations of a rebase came.
struct Progress {
  std::size_t operations = 0;  // as many as the rebase has
  std::size_t done = 0;        // committed, or in no need of a commit
  std::size_t failed_at = 0;   // the first operation that libgit2 did not give, counted from 1
  int code = 0;                // why not
  std::string error;

  bool operator==(const Progress&) const = default;
};

// The general error of a rebase, and libgit2's own.
void fail_rebase(const RepoCall& call);

// Commits the operations that are left and counts them in `progress`, which comes with their
// number. False, and all reported, when one of them cannot be committed: the rebase stays in
// progress. `last_commit` becomes the id of the last one that was committed.
bool commit_operations(const RepoCall& call, git_rebase* rebase, const git_signature* signature,
                       Progress* progress, git_oid* last_commit);

// False, and all reported, when libgit2 cannot finish.
bool finish_rebase(const RepoCall& call, git_rebase* rebase, const git_signature* signature);

}  // namespace uwugit
