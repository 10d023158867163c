// Building a repository's history from libgit2's walk.
#pragma once

#include "gitbind/frame.h"

namespace uwugit {

// Keeps all that can be reached from HEAD, the local and remote-tracking branches, the tags and the
// latest stash as the history of the call's repository, in place of an earlier one, and writes the
// number of commits as the call's result. The call's pool becomes the history's.
//
// When the walk cannot be set up: the call's failure code, libgit2's error in the log, and the
// earlier history stays.
void walk_history(const RepoCall& call);

}  // namespace uwugit
