// The steps of a merge that the transfer operations share.
#pragma once

#include "gitbind/libgit2.h"

namespace uwugit {

// Creates or moves the branch that HEAD names to the commit and checks the commit's tree out: 0, or
// -1 after libgit2's error in the log. A detached HEAD names no branch: -1, and nothing is changed.
// Files that differ between the two commits are *not* updated, since the branch moves before the
// checkout compares: callers have merged before.
int fastforward_head(GitModule* git, git_repository* repo, const git_oid* target);

// Commits the index as the merge of their branch into HEAD's, with one signature for author and
// committer: 0, or -1 after libgit2's error in the log. `head_branch` is HEAD's short name, and
// their branch is any name of a reference, short or full.
int create_merge_commit(GitModule* git, HostPool* pool, git_repository* repo, git_index* index,
                        git_reference* head, const char* head_branch, const char* their_branch,
                        const char* name, const char* email);

// Writes one note per conflict in the index. Answers 0.
int output_conflicts(GitModule* git, git_index* index);

}  // namespace uwugit
