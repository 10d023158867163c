// libgit2 (1.1 to 1.9) answers 0 from git_commit_create and its relatives when the commit could not
// be written to the object database, for example on a full disk: it jumps to its end with the code
// of the step before. The reference is not moved and nothing is committed. git_rebase_commit and
// the stash are built on the same code inside libgit2; they notice later, with an error that says
// only that an object is missing.
//
// Here a success counts when the commit exists and the reference that it was to move stands at it.
// Else the call fails with the error that libgit2 kept from the write.

#include "unwritten_commit.h"

#include <git2/sys/commit.h>

#include <cstdarg>
#include <vector>

#include "next.h"

namespace {

bool exists(git_repository* repo, const git_oid* id) {
  git_odb* objects = nullptr;
  if (git_oid_is_zero(id) || git_repository_odb(&objects, repo) < 0) return false;
  const bool is_found = git_odb_exists(objects, id) == 1;
  git_odb_free(objects);
  return is_found;
}

bool stands_at(git_repository* repo, const char* reference, const git_oid* id) {
  git_oid found = {};
  return git_reference_name_to_id(&found, repo, reference) == 0 && git_oid_equal(&found, id);
}

// The type of the parents differs between versions by a const.
template <class... Given, class Last>
Last last_parameter(int (*)(git_oid*, git_repository*, const char*, const git_signature*,
                            const git_signature*, const char*, const char*, const git_tree*,
                            std::size_t, Last));
using ParentList = decltype(last_parameter(&git_commit_create));

}  // namespace

int confirm_commit(int code, git_repository* repo, const git_oid* commit, const char* reference) {
  if (code != 0) return code;
  const git_error* error = last_error();
  const int error_class = error ? error->klass : GIT_ERROR_OBJECT;
  const std::string text = error ? error->message : "the commit could not be written";
  if (exists(repo, commit) && (!reference || stands_at(repo, reference, commit))) return code;
  return fail(error_class, text);
}

EXPORT int git_commit_create(git_oid* id, git_repository* repo, const char* reference,
                             const git_signature* author, const git_signature* committer,
                             const char* encoding, const char* message, const git_tree* tree,
                             std::size_t parent_count, ParentList parents) {
  *id = {};
  const int code = NEXT(git_commit_create)(id, repo, reference, author, committer, encoding,
                                           message, tree, parent_count, parents);
  return confirm_commit(code, repo, id, reference);
}

// The parents cannot be handed on as they came. A null ends them.
EXPORT int git_commit_create_v(git_oid* id, git_repository* repo, const char* reference,
                               const git_signature* author, const git_signature* committer,
                               const char* encoding, const char* message, const git_tree* tree,
                               std::size_t parent_count, ...) {
  if (!tree) return fail(GIT_ERROR_INVALID, "a commit needs a tree");
  std::vector<const git_oid*> parents;
  va_list given;
  va_start(given, parent_count);
  while (parents.size() < parent_count) {
    const auto* parent = va_arg(given, const git_commit*);
    if (!parent) break;
    parents.push_back(git_commit_id(parent));
  }
  va_end(given);
  *id = {};
  const int code =
      git_commit_create_from_ids(id, repo, reference, author, committer, encoding, message,
                                 git_tree_id(tree), parents.size(), parents.data());
  return confirm_commit(code, repo, id, reference);
}
