#include "gitbind/release.h"

namespace uwugit {

// One line a release function: its name, the object and the libgit2 function.
#define FREES_ANY(function, type, libgit2_function)                           \
  void function(type* object, GitModule* git) {                               \
    if (auto* release = GIT(git, libgit2_function); release) release(object); \
  }
#define FREES_UNLESS_NULL(function, type, libgit2_function) \
  void function(type* object, GitModule* git) {             \
    auto* release = GIT(git, libgit2_function);             \
    if (release && object) release(object);                 \
  }

FREES_ANY(free_git_repo, git_repository, git_repository_free)
FREES_ANY(free_git_tree, git_tree, git_tree_free)
FREES_ANY(free_git_commit, git_commit, git_commit_free)
FREES_ANY(free_git_signature, git_signature, git_signature_free)
FREES_ANY(free_git_remote, git_remote, git_remote_free)
FREES_ANY(free_git_reference, git_reference, git_reference_free)
FREES_ANY(free_git_annotated_commit, git_annotated_commit, git_annotated_commit_free)
FREES_UNLESS_NULL(free_git_rebase, git_rebase, git_rebase_free)
FREES_UNLESS_NULL(free_git_diff, git_diff, git_diff_free)
FREES_UNLESS_NULL(free_git_revwalk, git_revwalk, git_revwalk_free)
FREES_UNLESS_NULL(free_git_index, git_index, git_index_free)
FREES_UNLESS_NULL(free_git_object, git_object, git_object_free)
FREES_UNLESS_NULL(free_git_index_conflict_iterator, git_index_conflict_iterator,
                  git_index_conflict_iterator_free)
FREES_UNLESS_NULL(free_git_status_list, git_status_list, git_status_list_free)

}  // namespace uwugit
