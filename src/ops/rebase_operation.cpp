// Going on with a rebase.
//
// rebase_operation(repository, operation, branch, name, email) -> 0
//     Goes on with a rebase in progress: SKIP throws the changes of the commit that stopped away
//     and then does as CONTINUE, which applies the commits that are left and then does as FINISH;
//     ABORT returns to where the rebase started. In the end HEAD is on the branch named, which is
//     moved there. -1: failed. Unchanged: there is no such operation.
//
// Example: rebase_operation("/home/me/project", "ABORT", "topic", "Me", "me@example.org");

#include <cstdint>
#include <cstring>

#include "module/messages.h"
#include "module/vector_stubs.h"
#include "ops/branches.h"
#include "ops/rebase_steps.h"
#include "store/object_list.h"
#include "store/upper_case.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kRebaseOperation = {.pool_name = "rebase_op",
                                         .is_result_preset = false,
                                         .is_load_failure_reported = true,
                                         .failure = kFailure};

// A rebase in progress.
struct OngoingRebase {
  git_repository* repo;
  git_rebase* rebase;
  const git_signature* signature;
};

// The steps of an operation: false, and all reported, when the operation ends here.
using RebaseStep = bool(GitCall& call, const OngoingRebase& ongoing);

bool drop_changes(GitCall& call, const OngoingRebase& ongoing) {
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = kCheckoutForce;
  if (attempt(GIT(call, git_checkout_head), ongoing.repo, &options) == 0) return true;
  call.fail();
  return false;
}

bool commit_rest(GitCall& call, const OngoingRebase& ongoing) {
  Outcome outcome;
  auto* count = GIT(call, git_rebase_operation_entrycount);
  outcome.operations = count ? count(ongoing.rebase) : SIZE_MAX;
  git_oid last_commit{};
  return commit_operations(call, ongoing.rebase, ongoing.signature, &outcome, &last_commit);
}

bool finish(GitCall& call, const OngoingRebase& ongoing) {
  if (attempt(GIT(call, git_rebase_finish), ongoing.rebase, ongoing.signature) < 0) {
    call.fail();
    return false;
  }
  xpslog(message::kRebaseFinished);
  return true;
}

bool abort(GitCall& call, const OngoingRebase& ongoing) {
  auto* abort_rebase = GIT(call, git_rebase_abort);
  if (abort_rebase && abort_rebase(ongoing.rebase) < 0) {
    call.fail();
    return false;
  }
  xpslog(message::kRebaseAborted);
  return true;
}

constexpr int kMostSteps = 3;
struct Operation {
  const char* word;
  RebaseStep* steps[kMostSteps];
};
constexpr Operation kOperations[] = {
    {"SKIP", {drop_changes, commit_rest, finish}},
    {"CONTINUE", {commit_rest, finish}},
    {"FINISH", {finish}},
    {"ABORT", {abort}},
};

const Operation* find_operation(const char* word) {
  for (const Operation& operation : kOperations) {
    if (is_same_key(operation.word, word)) return &operation;
  }
  return nullptr;
}

// The id by way of its text, which stays all zeros when it cannot be written: libgit2 then refuses
// to move a branch to it.
bool copy_id(GitCall& call, const git_oid* from, git_oid* to) {
  char text[GIT_OID_HEXSZ + 1];
  std::memset(text, '0', GIT_OID_HEXSZ);
  if (auto* format = GIT(call, git_oid_fmt)) format(text, from);
  text[GIT_OID_HEXSZ] = '\0';
  return attempt(GIT(call, git_oid_fromstrp), to, text) == 0;
}

// Libgit2 leaves HEAD detached after a rebase that started from a commit id, and on its branch
// after one that another program started from a branch.
bool find_head_commit(GitCall& call, git_repository* repo, git_reference* head, git_oid* id) {
  auto* target_of = GIT(call, git_reference_target);
  const git_oid* target = target_of ? target_of(head) : nullptr;
  if (!target) return attempt(GIT(call, git_reference_name_to_id), id, repo, kHead) == 0;
  return copy_id(call, target, id);
}

void move_branch_to_head(GitCall& call, git_repository* repo, const char* branch_reference) {
  Held<git_reference> head(call.git, free_git_reference);
  Held<git_reference> branch(call.git, free_git_reference);
  git_oid id{};
  if (attempt(GIT(call, git_reference_lookup), &head.it, repo, kHead) != 0 ||
      attempt(GIT(call, git_reference_lookup), &branch.it, repo, branch_reference) != 0 ||
      !find_head_commit(call, repo, head.it, &id) ||
      set_branch_to_head(call.git, repo, branch_reference, id) < 0) {
    return call.fail();
  }
  *call.result = kSuccess;
}

void operate(GitCall& call, git_repository* repo, char* word, const char* branch_reference,
             const char* name, const char* email) {
  Held<git_rebase> rebase(call.git, free_git_rebase);
  if (attempt(GIT(call, git_rebase_open), &rebase.it, repo, nullptr) < 0) return call.fail();
  Held<git_signature> signature(call.git, free_git_signature);
  if (attempt(GIT(call, git_signature_now), &signature.it, name, email) < 0) return call.fail();
  toUpperCase(word);
  const Operation* operation = find_operation(word);
  if (!operation) {
    xpslog(message::kInvalidRebaseOperation, word);
    return;
  }
  for (RebaseStep* step : operation->steps) {
    if (step && !step(call, {repo, rebase.it, signature.it})) return;
  }
  move_branch_to_head(call, repo, branch_reference);
}

}  // namespace

int rebase_operation(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kRebaseOperation, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const PoolText word(call.pool, text_argument(arguments, 1));
  const PoolText branch_reference(call.pool, kLocalBranchPrefix, text_argument(arguments, 2));
  const PoolText name(call.pool, text_argument(arguments, 3));
  const PoolText email(call.pool, text_argument(arguments, 4));
  operate(call, repo.it, word.text, branch_reference.text, name.text, email.text);
  return 0;
}

}  // namespace uwugit
