// From libgit2's patch to the files of the working diff object.
#pragma once

#include "gitbind/libgit2.h"

namespace uwugit {

// Prints the diff into workingDiffObject: one record in the content of its file for each line that
// libgit2 reports. libgit2's code; -1 when git_diff_print cannot be found.
int print_diff(GitModule* git, git_diff* diff);

// What libgit2 calls for each line, in the order of the patch; the payload is not used. Always 0.
int diff_line_cb(const git_diff_delta* delta, const git_diff_hunk* hunk, const git_diff_line* line,
                 void* payload);

}  // namespace uwugit
