// Local branches.
//
// create_branch(repository, start, branch, force) -> 0
//     Creates the branch at a commit, named by its full id or by a full reference name. A force
//     other than 0 moves a branch that exists. -1: the repository cannot be opened or libgit2
//     refuses the branch. Unchanged: there is no such start point, or no commit behind it.
//
// delete_branch(repository, branch [, kind]) -> 0
//     Deletes the local branch, or with kind 1 the remote-tracking one ("origin/topic"). -1: the
//     repository cannot be opened or libgit2 refuses. Unchanged: there is no such branch.
//
// checkout_branch(repository, branch) -> 0
//     Checks the branch's tree out and points HEAD at it. -1: the repository cannot be opened, the
//     name means nothing, local changes are in the way (nothing is touched), or HEAD cannot be set.
//
// Example: create_branch("/home/me/project", "HEAD", "topic", 0);
// checkout_branch("/home/me/project", "topic");

#include "ops/branches.h"

#include "gitbind/frame.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules branch_rules(const char* pool_name) {
  return {.pool_name = pool_name,
          .is_result_preset = false,
          .is_load_failure_reported = true,
          .failure = kFailure};
}
constexpr FrameRules kCreateBranch = branch_rules("create_branch_pool");
constexpr FrameRules kDeleteBranch = branch_rules("delete_branch_pool");
constexpr FrameRules kCheckoutBranch = branch_rules("checkout_branch_pool");

constexpr std::int32_t kRemoteKind = 1;

void succeed(GitCall& call, const char* note, const char* branch) {
  *call.result = kSuccess;
  xpslog(note, branch);
}

// False only when libgit2 read the text both ways and it is neither an id nor a reference; when it
// cannot read at all, the id stays zero and the lookup of its commit fails.
bool is_start_point(GitCall& call, git_repository* repo, const char* text, git_oid* id) {
  auto* parse = GIT(call, git_oid_fromstrp);
  if (!parse || parse(id, text) == 0) return true;
  auto* resolve = GIT(call, git_reference_name_to_id);
  return !resolve || resolve(id, repo, text) == 0;
}

void create(GitCall& call, git_repository* repo, const char* start, const char* branch,
            std::int32_t force) {
  git_oid id{};
  if (!is_start_point(call, repo, start, &id)) {
    xpslog(message::kNoStartPoint, branch);
    return;
  }
  Held<git_commit> commit(call.git, free_git_commit);
  if (attempt(GIT(call, git_commit_lookup), &commit.it, repo, &id) < 0) {
    log_git_error(call.git);
    return;
  }
  Held<git_reference> reference(call.git, free_git_reference);
  if (attempt(GIT(call, git_branch_create), &reference.it, repo, branch, commit.it, force) < 0) {
    return call.fail();
  }
  succeed(call, message::kBranchCreated, branch);
}

void remove(GitCall& call, git_repository* repo, const char* branch, git_branch_t type) {
  Held<git_reference> reference(call.git, free_git_reference);
  if (attempt(GIT(call, git_branch_lookup), &reference.it, repo, branch, type) < 0) {
    log_git_error(call.git);
    return;
  }
  if (attempt(GIT(call, git_branch_delete), reference.it) < 0) return call.fail();
  succeed(call, message::kBranchDeleted, branch);
}

// The name is any revision for the tree, but always a local branch for HEAD: after the checkout of
// a tag, HEAD is on a branch of the tag's name that has no commit. Callers who want a tag make a
// branch of it first.
void check_out(GitCall& call, git_repository* repo, HostText name) {
  const PoolText branch(call.pool, name);
  Held<git_object> object(call.git, free_git_object);
  if (attempt(GIT(call, git_revparse_single), &object.it, repo, branch.text) < 0) {
    return call.fail();
  }
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = kCheckoutSafe;
  if (attempt(GIT(call, git_checkout_tree), repo, object.it, &options) < 0) return call.fail();
  const PoolText reference_name(call.pool, kLocalBranchPrefix, name);
  if (attempt(GIT(call, git_repository_set_head), repo, reference_name.text) < 0) {
    return call.fail();
  }
  succeed(call, message::kBranchCheckedOut, branch.text);
}

int move_head_to_branch(GitModule* git, git_repository* repo, const char* name, const git_oid* id) {
  Held<git_reference> branch(git, free_git_reference);
  if (!name || attempt(GIT_FUNCTION(git, git_reference_create), &branch.it, repo, name, id, 1,
                       nullptr) < 0) {
    return -1;
  }
  Held<git_reference> moved(git, free_git_reference);
  if (attempt(GIT_FUNCTION(git, git_reference_set_target), &moved.it, branch.it, id, nullptr) < 0) {
    return -1;
  }
  auto* name_of = GIT_FUNCTION(git, git_reference_name);
  if (!name_of) return -1;
  return attempt(GIT_FUNCTION(git, git_repository_set_head), repo, name_of(moved.it));
}

}  // namespace

bool is_remote_kind(const HostArgumentBlock* arguments, int position) {
  return arguments->count > position && number_argument(arguments, position) == kRemoteKind;
}

int set_branch_to_head(GitModule* git, git_repository* repo, const char* name, git_oid id) {
  if (move_head_to_branch(git, repo, name, &id) >= 0) return 0;
  log_git_error(git);
  return -1;
}

int create_branch(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kCreateBranch, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const PoolText start(call.pool, text_argument(arguments, 1));
  const PoolText branch(call.pool, text_argument(arguments, 2));
  create(call, repo.it, start.text, branch.text, number_argument(arguments, 3));
  return 0;
}

int delete_branch(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kDeleteBranch, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const PoolText branch(call.pool, text_argument(arguments, 1));
  remove(call, repo.it, branch.text,
         is_remote_kind(arguments, 2) ? GIT_BRANCH_REMOTE : GIT_BRANCH_LOCAL);
  return 0;
}

int checkout_branch(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kCheckoutBranch, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  check_out(call, repo.it, text_argument(arguments, 1));
  return 0;
}

}  // namespace uwugit
