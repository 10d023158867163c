// do_commit(repository, reference, name, email, message [, parent]) -> 0
//
// Records the index as a commit and moves the reference ("HEAD", "refs/heads/topic") to it. The
// reference's target becomes the first parent; a reference that does not resolve, as before the
// first commit, makes a commit without one. With a sixth argument the commit has a second parent
// of that id. Name and e-mail sign it as author and committer.
//
// 0: libgit2 was asked to create the commit, which can still have failed: compare the reference.
// -1: no repository, signature, index or tree. Unchanged: libgit2 could not be loaded or
// initialised, or the index could not be written as a tree, or a parent was not found.
//
// Example: do_commit("/home/me/project", "HEAD", "Me", "me@example.org", "Add the report");

#include "gitbind/frame.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kDoCommit = {.pool_name = "gitCommitPool",
                                  .is_result_preset = false,
                                  .is_load_failure_reported = false,
                                  .failure = kFailure};
constexpr std::int64_t kCountWithSecondParent = 6;
constexpr std::size_t kMergeParents = 2;
constexpr char kEncoding[] = "UTF-8";

// All that a commit needs, looked up at once. What libgit2 lacks is passed over as if it had
// succeeded; the steps after it then fail on what it did not make.
struct CommitFunctions {
  GitModule* git;
  decltype(&git_signature_now) sign = GIT(*this, git_signature_now);
  decltype(&git_repository_index) get_index = GIT(*this, git_repository_index);
  decltype(&git_index_write_tree) write_tree = GIT(*this, git_index_write_tree);
  decltype(&git_tree_lookup) find_tree = GIT(*this, git_tree_lookup);
  decltype(&git_reference_name_to_id) resolve = GIT(*this, git_reference_name_to_id);
  decltype(&git_commit_lookup) find_commit = GIT(*this, git_commit_lookup);
  decltype(&git_commit_create_v) create = GIT(*this, git_commit_create_v);
  decltype(&git_oid_fromstrp) parse_id = GIT(*this, git_oid_fromstrp);
};

// A step failed and the return code stays as the host set it.
void give_up(GitCall& call) { log_git_error(call.git); }

// A failure counts only when libgit2 can say what it was. Without that the commit goes ahead, and
// where no tree was written the lookup that follows fails.
bool write_tree(const CommitFunctions& git, git_index* index, git_oid* id) {
  if (!git.write_tree) return true;
  if (!index) return false;  // libgit2 before 1.2 ends the process when it is given none
  return git.write_tree(id, index) >= 0 || !last_git_error(git.git);
}

// The id may be a prefix as far as parsing goes. libgit2 fills it with zeros, so that only a whole
// id finds its commit.
bool find_second_parent(const CommitFunctions& git, git_repository* repo, const char* text,
                        git_commit** parent) {
  git_oid id = {};
  if (git.parse_id && git.parse_id(&id, text) != 0) return false;
  return !git.find_commit || git.find_commit(parent, repo, &id) >= 0;
}

void commit_index(GitCall& call, const HostArgumentBlock* arguments, const char* path) {
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path, &repo.it)) return;
  const CommitFunctions git{call.git};
  Held<git_index> index(call.git, free_git_index);
  Held<git_signature> signature(call.git, free_git_signature);
  Held<git_commit> second_parent(call.git, free_git_commit);
  Held<git_commit> first_parent(call.git, free_git_commit);
  Held<git_tree> tree(call.git, free_git_tree);

  const PoolText name(call.pool, text_argument(arguments, 2));
  const PoolText email(call.pool, text_argument(arguments, 3));
  if (git.sign && git.sign(&signature.it, name.text, email.text) < 0) return call.fail();
  if (git.get_index && git.get_index(&index.it, repo.it) < 0) return call.fail();
  git_oid tree_id = {};
  if (!write_tree(git, index.it, &tree_id)) return give_up(call);
  if (git.find_tree && git.find_tree(&tree.it, repo.it, &tree_id) < 0) return call.fail();

  const PoolText reference(call.pool, text_argument(arguments, 1));
  git_oid head = {};
  const bool has_head = !git.resolve || git.resolve(&head, repo.it, reference.text) == 0;
  if (has_head && git.find_commit && git.find_commit(&first_parent.it, repo.it, &head) < 0) {
    return give_up(call);
  }
  const bool is_merge = arguments->count == kCountWithSecondParent;
  const PoolText parent_id(call.pool, is_merge ? text_argument(arguments, 5) : HostText{});
  if (is_merge && !find_second_parent(git, repo.it, parent_id.text, &second_parent.it)) {
    return give_up(call);
  }

  const PoolText message(call.pool, text_argument(arguments, 4));
  // What comes of the creation is not looked at: programs take 0 for "asked to commit" and compare
  // the reference. A merge always names two parents, the first null where the reference has no
  // target; libgit2 ends its list of parents there.
  *call.result = kSuccess;
  if (!git.create || !signature.it || !tree.it) return;
  const std::size_t parents = is_merge ? kMergeParents : has_head;
  git_oid id;
  git.create(&id, repo.it, reference.text, signature.it, signature.it, kEncoding, message.text,
             tree.it, parents, first_parent.it, second_parent.it);
}

}  // namespace

int do_commit(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kDoCommit, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  commit_index(call, arguments, path.text);
  return 0;
}

}  // namespace uwugit
