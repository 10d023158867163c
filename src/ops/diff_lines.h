// From libgit2's patch to the files of the working diff object.
#pragma once

#include "gitbind/libgit2.h"

namespace uwugit {

// Lets libgit2 print a diff into workingDiffObject, where each of its lines becomes one record in
// the content of its file. libgit2's code; -1 when git_diff_print cannot be found.
int record_lines(GitModule* git, git_diff* diff);

// What libgit2 calls for each line, in the order of the patch; the payload is not used. Always 0.
// It adds the line to workingDiffObject whoever calls it, and keeps nothing of libgit2's.
int diff_line_cb(const git_diff_delta* delta, const git_diff_hunk* hunk, const git_diff_line* line,
                 void* payload);

}  // namespace uwugit
