// do_commit(repository, reference, name, email, message [, parent]) -> 0, -1
//
// 0 means that libgit2 was asked to create the commit, which can still have failed. The return code
// stays as it was where the index could not be written as a tree or a parent was not found. What
// libgit2 lacks is passed over as if it had succeeded; the steps after it then fail on what it did
// not make.

#include "gitbind/frame.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kDoCommit = {.pool_name = "gitCommitPool", .is_load_failure_reported = false};
constexpr std::int64_t kCountWithSecondParent = 6;
constexpr std::size_t kMergeParents = 2;
constexpr char kEncoding[] = "UTF-8";

// The parents of the new commit, as far as there are any.
struct Parents {
  explicit Parents(GitModule* git) : second(git), first(git) {}

  Held<git_commit> second;
  Held<git_commit> first;
  std::size_t count = 0;
};

// A failure counts only when libgit2 can say what it was. Without that the commit goes ahead, and
// where no tree was written the lookup that follows fails.
bool write_tree(const RepoCall& call, git_index* index, git_oid* id) {
  auto* write = GIT(call, git_index_write_tree);
  if (!write) return true;
  if (!index) return false;  // libgit2 before 1.2 ends the process when it is given none
  return write(id, index) >= 0 || !last_git_error(call);
}

// A reference that does not resolve, as before the first commit, has no commit to be the parent.
bool find_first_parent(const RepoCall& call, const char* reference, Parents* parents) {
  git_oid id{};
  if (if_found(GIT(call, git_reference_name_to_id), &id, call.repo.it, reference) != 0) return true;
  parents->count = 1;
  return if_found(GIT(call, git_commit_lookup), &parents->first.it, call.repo.it, &id) >= 0;
}

// The id may be a prefix as far as parsing goes. libgit2 fills it with zeros, so that only a whole
// id finds its commit. A merge always names two parents, the first null where the reference has no
// target; libgit2 ends its list of parents there.
bool find_second_parent(const RepoCall& call, Parents* parents) {
  if (call.count() != kCountWithSecondParent) return true;
  const PoolText text = call.text(5);
  git_oid id{};
  if (if_found(GIT(call, git_oid_fromstrp), &id, text.text) != 0) return false;
  parents->count = kMergeParents;
  return if_found(GIT(call, git_commit_lookup), &parents->second.it, call.repo.it, &id) >= 0;
}

// What comes of the creation is not looked at: programs take 0 for "asked to commit" and compare
// the reference.
void create(const RepoCall& call, const char* reference, const git_signature* signature,
            const git_tree* tree, const Parents& parents) {
  const PoolText message = call.text(4);
  *call.result = kSuccess;
  auto* create_commit = GIT(call, git_commit_create_v);
  if (!create_commit || !signature || !tree) return;
  git_oid id;
  create_commit(&id, call.repo.it, reference, signature, signature, kEncoding, message.text, tree,
                parents.count, parents.first.it, parents.second.it);
}

void commit_index(const RepoCall& call) {
  Held<git_index> index(call);
  Held<git_signature> signature(call);
  Parents parents(call);
  Held<git_tree> tree(call);
  const PoolText name = call.text(2);
  const PoolText email = call.text(3);
  if (if_found(GIT(call, git_signature_now), &signature.it, name.text, email.text) < 0 ||
      if_found(GIT(call, git_repository_index), &index.it, call.repo.it) < 0) {
    return call.fail();
  }
  git_oid tree_id{};
  if (!write_tree(call, index.it, &tree_id)) return call.give_up();
  if (if_found(GIT(call, git_tree_lookup), &tree.it, call.repo.it, &tree_id) < 0) {
    return call.fail();
  }
  const PoolText reference = call.text(1);
  if (!find_first_parent(call, reference.text, &parents) || !find_second_parent(call, &parents)) {
    return call.give_up();
  }
  create(call, reference.text, signature.it, tree.it, parents);
}

}  // namespace

int do_commit(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kDoCommit, arguments, result);
  if (call.is_ready()) commit_index(call);
  return 0;
}

}  // namespace uwugit
