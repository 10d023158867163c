// What branches, merge and rebase share.
#pragma once

#include "gitbind/frame.h"

namespace uwugit {

inline constexpr char kHead[] = "HEAD";
inline constexpr char kLocalBranchPrefix[] = "refs/heads/";
inline constexpr char kRemoteBranchPrefix[] = "refs/remotes/";

// Whether the optional argument at that position, a branch's kind, asks for a remote-tracking one.
bool is_remote_kind(const GitCall& call, int position);

// Creates or moves the branch of that full name and points HEAD at it; the working tree stays. 0,
// or -1 after libgit2's error in the log, also when the name is null.
int set_branch_to_head(GitModule* git, git_repository* repo, const char* name, git_oid id);

}  // namespace uwugit
