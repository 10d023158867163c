// The repository's remote named "origin", as fetch, pull and push meet it.
#pragma once

#include "ops/credentials.h"

namespace uwugit {

inline constexpr char kOrigin[] = "origin";

// The remote, what the caller offers to it, and HEAD.
struct Origin {
  // Finds all three. Where one is missing, libgit2's error is logged and the return code stays.
  Origin(const RepoCall& call, const CredentialPositions& positions);

  Held<git_remote> remote;
  Credentials credentials;
  Held<git_reference> head;
  bool is_ready = false;
};

// The full name of the branch that HEAD points at, which lives as long as `origin`. Null, and
// libgit2's error in the log, when it cannot be told.
const char* current_branch(const RepoCall& call, const Origin& origin);

// Fetches one refspec, or with null those of the remote's configuration. Answers libgit2's code,
// and 0 when libgit2 has no git_remote_fetch.
int fetch_from(const RepoCall& call, const Origin& origin, const char* refspec);

}  // namespace uwugit
