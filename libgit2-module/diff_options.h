// The options of a diff.
#pragma once

#include <git2.h>

// What libgit2 takes when it gets none.
git_diff_options default_diff_options(git_repository* repo);
