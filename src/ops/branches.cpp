// Local branches.
//
// create_branch(repository, start, branch, force) -> 0, -1
// delete_branch(repository, branch [, kind]) -> 0, -1
// checkout_branch(repository, branch) -> 0, -1
//
// The return code stays as it was where a start point or a branch to delete cannot be found.

#include "ops/branches.h"

#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kCreateBranch = {.pool_name = "create_branch_pool"};
constexpr FrameRules kDeleteBranch = {.pool_name = "delete_branch_pool"};
constexpr FrameRules kCheckoutBranch = {.pool_name = "checkout_branch_pool"};

constexpr std::int32_t kRemoteKind = 1;

// False only when libgit2 read the text both ways and it is neither an id nor a reference. When it
// cannot read at all, the id stays zero and the lookup of its commit fails.
bool is_start_point(const RepoCall& call, const char* text, git_oid* id) {
  auto* parse = GIT(call, git_oid_fromstrp);
  if (!parse || parse(id, text) == 0) return true;
  return if_found(GIT(call, git_reference_name_to_id), id, call.repo.it, text) == 0;
}

void create(const RepoCall& call) {
  const PoolText start = call.text(1);
  const PoolText branch = call.text(2);
  git_oid id{};
  if (!is_start_point(call, start.text, &id)) {
    xpslog(message::kNoStartPoint, branch.text);
    return;
  }
  Held<git_commit> commit(call);
  if (required(GIT(call, git_commit_lookup), &commit.it, call.repo.it, &id) < 0) {
    return call.give_up();
  }
  Held<git_reference> reference(call);
  if (required(GIT(call, git_branch_create), &reference.it, call.repo.it, branch.text, commit.it,
               call.number(3)) < 0) {
    return call.fail();
  }
  call.succeed(message::kBranchCreated, branch.text);
}

void remove(const RepoCall& call) {
  const PoolText branch = call.text(1);
  const git_branch_t kind = is_remote_kind(call, 2) ? GIT_BRANCH_REMOTE : GIT_BRANCH_LOCAL;
  Held<git_reference> reference(call);
  if (required(GIT(call, git_branch_lookup), &reference.it, call.repo.it, branch.text, kind) < 0) {
    return call.give_up();
  }
  if (required(GIT(call, git_branch_delete), reference.it) < 0) return call.fail();
  call.succeed(message::kBranchDeleted, branch.text);
}

// The name is any revision for the tree, but always a local branch for HEAD: after the checkout of
// a tag, HEAD is on a branch of the tag's name that has no commit. Callers who want a tag make a
// branch of it first.
void check_out(const RepoCall& call) {
  const PoolText branch = call.text(1);
  Held<git_object> object(call);
  if (required(GIT(call, git_revparse_single), &object.it, call.repo.it, branch.text) < 0) {
    return call.fail();
  }
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = kCheckoutSafe;
  if (required(GIT(call, git_checkout_tree), call.repo.it, object.it, &options) < 0) {
    return call.fail();
  }
  const PoolText reference_name = call.text(kLocalBranchPrefix, 1);
  if (required(GIT(call, git_repository_set_head), call.repo.it, reference_name.text) < 0) {
    return call.fail();
  }
  call.succeed(message::kBranchCheckedOut, branch.text);
}

int move_head_to_branch(GitModule* git, git_repository* repo, const char* name, const git_oid* id) {
  Held<git_reference> branch(git);
  if (!name ||
      required(GIT(git, git_reference_create), &branch.it, repo, name, id, 1, nullptr) < 0) {
    return -1;
  }
  Held<git_reference> moved(git);
  if (required(GIT(git, git_reference_set_target), &moved.it, branch.it, id, nullptr) < 0) {
    return -1;
  }
  const char* moved_name = if_found(GIT(git, git_reference_name), moved.it);
  return moved_name ? required(GIT(git, git_repository_set_head), repo, moved_name) : -1;
}

}  // namespace

bool is_remote_kind(const GitCall& call, int position) {
  return call.count() > position && call.number(position) == kRemoteKind;
}

int set_branch_to_head(GitModule* git, git_repository* repo, const char* name, git_oid id) {
  if (move_head_to_branch(git, repo, name, &id) >= 0) return 0;
  log_git_error(git);
  return -1;
}

int create_branch(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kCreateBranch, arguments, result);
  if (call.is_ready()) create(call);
  return 0;
}

int delete_branch(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kDeleteBranch, arguments, result);
  if (call.is_ready()) remove(call);
  return 0;
}

int checkout_branch(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kCheckoutBranch, arguments, result);
  if (call.is_ready()) check_out(call);
  return 0;
}

}  // namespace uwugit
