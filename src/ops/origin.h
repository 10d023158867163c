// The repository's remote named "origin", as fetch, pull and push meet it.
#pragma once

#include "ops/credentials.h"

namespace uwugit {

// The repository, its remote and its HEAD, released in reverse order.
struct Origin {
  explicit Origin(GitModule* git)
      : repo(git, free_git_repo), remote(git, free_git_remote), head(git, free_git_reference) {}

  Held<git_repository> repo;
  Held<git_remote> remote;
  Held<git_reference> head;
};

// Opens the repository, else -1 and an error, and looks its "origin" up, else libgit2's error and
// no result. Answers whether both are there.
bool open_origin(GitCall& call, const char* path, Origin* origin);

// Finds HEAD, else libgit2's error and no result.
bool find_head(GitCall& call, Origin* origin);

// The full name of the branch that HEAD points at, which lives as long as `origin`; null after a
// failure, with libgit2's error and no result.
const char* current_branch(GitCall& call, Origin* origin);

// Fetches one refspec, or with null those of the remote's configuration. Answers libgit2's code,
// and 0 when libgit2 has no git_remote_fetch.
int fetch_from(GitCall& call, git_remote* remote, const char* refspec,
               const Credentials& credentials);

}  // namespace uwugit
