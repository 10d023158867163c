// Merging a commit into the branch that HEAD is on, for merge_branch and do_pull.
#pragma once

#include "gitbind/frame.h"

namespace uwugit {

// HEAD, and the short name of the branch that it is on.
struct Head {
  explicit Head(GitModule* git) : reference(git) {}

  Held<git_reference> reference;
  const char* branch = nullptr;  // lives as long as the reference
};

// libgit2's code: negative when there is no HEAD yet or it is detached.
int find_head(GitModule* git, git_repository* repo, Head* head);

// What is merged, and how both sides are called.
struct Merge {
  GitModule* git;
  HostPool* pool;
  git_repository* repo;
  const git_annotated_commit* theirs;
  const git_oid* their_id;
  const char* their_name;  // any name of a reference to their commit; the merge commit tells it
  const char* our_label;   // the labels stand in conflict markers
  const char* their_label;
  HostText committer;  // who signs the merge commit
  HostText email;
};

// How a merge ended.
enum class MergeEnd {
  kUpToDate,
  kUnborn,  // HEAD has no commit yet
  kFastForwarded,
  kNotFastForwarded,  // the branch could not be moved
  kCommitted,
  kNotCommitted,  // merged, but the merge commit could not be made
  kConflicts,     // merged, with conflicts in index and files
  kNotMerged,     // libgit2 could not merge: its state stays
  kStepFailed,    // a step around the merge failed: its state stays
  kNothingToDo,   // libgit2's analysis asks for nothing that is done here
};

// Merges and logs how it ended, also libgit2's error. A merge in progress is ended, conflicts or
// not, unless its state stays.
MergeEnd merge_into_head(const Merge& merge);

}  // namespace uwugit
