// Releasing libgit2 objects: each function looks its libgit2 counterpart up and calls it when
// found.
#pragma once

#include "gitbind/libgit2.h"

namespace uwugit {

// These pass a null object on to libgit2, which accepts it.
void free_git_repo(git_repository* repo, GitModule* git);
void free_git_tree(git_tree* tree, GitModule* git);
void free_git_commit(git_commit* commit, GitModule* git);
void free_git_signature(git_signature* signature, GitModule* git);
void free_git_remote(git_remote* remote, GitModule* git);
void free_git_reference(git_reference* reference, GitModule* git);
void free_git_annotated_commit(git_annotated_commit* commit, GitModule* git);

// These do nothing for a null object.
void free_git_rebase(git_rebase* rebase, GitModule* git);
void free_git_diff(git_diff* diff, GitModule* git);
void free_git_revwalk(git_revwalk* walk, GitModule* git);
void free_git_index(git_index* index, GitModule* git);
void free_git_object(git_object* object, GitModule* git);
void free_git_index_conflict_iterator(git_index_conflict_iterator* iterator, GitModule* git);
void free_git_status_list(git_status_list* list, GitModule* git);

// Which of them frees a type.
template <class T>
inline constexpr void (*kRelease)(T*, GitModule*) = nullptr;
#define RELEASED_BY(type, function) \
  template <>                       \
  inline constexpr void (*kRelease<type>)(type*, GitModule*) = function;
RELEASED_BY(git_repository, free_git_repo)
RELEASED_BY(git_tree, free_git_tree)
RELEASED_BY(git_commit, free_git_commit)
RELEASED_BY(git_signature, free_git_signature)
RELEASED_BY(git_remote, free_git_remote)
RELEASED_BY(git_reference, free_git_reference)
RELEASED_BY(git_annotated_commit, free_git_annotated_commit)
RELEASED_BY(git_rebase, free_git_rebase)
RELEASED_BY(git_diff, free_git_diff)
RELEASED_BY(git_revwalk, free_git_revwalk)
RELEASED_BY(git_index, free_git_index)
RELEASED_BY(git_object, free_git_object)
RELEASED_BY(git_index_conflict_iterator, free_git_index_conflict_iterator)
RELEASED_BY(git_status_list, free_git_status_list)
#undef RELEASED_BY

// Owns a libgit2 object together with the module that must free it: `it` is freed at the end of the
// scope if it was made. Declared on the line before the call that fills it, so that several end in
// reverse order of creation.
template <class T>
struct Held {
  explicit Held(GitModule* git_module) : git(git_module) {}
  ~Held() {
    if (it) kRelease<T>(it, git);
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

  GitModule* git;
  T* it = nullptr;
};

}  // namespace uwugit
