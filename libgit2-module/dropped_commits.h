// Rebases that have begun, each until it is freed.
#pragma once

#include <git2.h>

#include <string>

// The folder in which libgit2 keeps a repository's rebase in progress, with its last slash.
std::string rebase_folder(git_repository* repo);

// Notes a rebase that was made or opened; without a repository when it is in memory only.
void remember_rebase(const git_rebase* rebase, git_repository* repo);
