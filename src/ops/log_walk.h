// Building a commit log from libgit2's walk through a history.
#pragma once

#include "gitbind/frame.h"

namespace uwugit {

// Stores all that can be reached from HEAD, the local and remote-tracking branches, the tags and
// the latest stash as the log of that path, in place of an earlier one, and writes the number of
// commits as the call's result. The call's pool becomes the log's.
//
// When the walk cannot be set up: the call's failure code, libgit2's error in the log, and the
// earlier log stays.
void walk_log(GitCall& call, git_repository* repo, const char* path);

}  // namespace uwugit
