// A plain program on libgit2 that builds the same log as the module, and generated histories for
// both: the same walk and lookups, the same texts copied into strings, the same links and marks,
// pending parents in a hash table.
#pragma once

#include <git2.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support.h"

namespace uwugit::bench {

// Repositories, made at the first use; a commit's texts take 600 bytes. A history on one branch, in
// which every tenth commit is a merge; and a root with that many branches of two commits each, of
// which the walk meets all tips before the first parent.
const fs::path& history(int commits);
const fs::path& branches(int tips);

struct RawCommit {
  std::string id, message, author, email, committer, committer_email;
  bool is_stash = false;
  int state = -1;
  std::int64_t time = 0;
  std::vector<RawCommit*> parents, children;
};
using RawLog = std::vector<std::unique_ptr<RawCommit>>;

// Walks as the module does and gives each commit to `visit`, which may be empty.
template <class Visit>
int raw_walk(const char* path, Visit visit) {
  git_repository* repo = nullptr;
  git_revwalk* walk = nullptr;
  if (git_repository_open(&repo, path) < 0 || git_revwalk_new(&walk, repo) < 0) return -1;
  git_revwalk_sorting(walk, GIT_SORT_TOPOLOGICAL | GIT_SORT_TIME);
  git_oid stash{};
  git_oid head{};
  int count = git_revwalk_push_head(walk);
  for (const char* glob : {"refs/remotes", "refs/heads", "refs/tags"}) {
    if (count == 0) count = git_revwalk_push_glob(walk, glob);
  }
  if (git_reference_name_to_id(&stash, repo, "refs/stash") == 0) git_revwalk_push(walk, &stash);
  git_reference_name_to_id(&head, repo, "HEAD");
  for (git_oid oid; count >= 0 && git_revwalk_next(&oid, walk) == 0;) {
    git_commit* commit = nullptr;
    if (git_commit_lookup(&commit, repo, &oid) < 0) continue;
    visit(oid, commit, stash, head);
    git_commit_free(commit);
    ++count;
  }
  git_revwalk_free(walk);
  git_repository_free(repo);
  return count;
}

RawLog raw_log(const char* path);

}  // namespace uwugit::bench
