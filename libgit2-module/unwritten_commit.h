// Whether a commit that libgit2 says it made was made.
#pragma once

#include <git2.h>

// The code of a call that made a commit and moved a reference (null: none). A success counts only
// when the commit exists and the reference stands at it; else the thread's error stays what it was
// after the call, so that it tells why.
int confirm_commit(int code, git_repository* repo, const git_oid* commit, const char* reference);
