// rebase_operation(repository, operation, branch, name, email) -> 0, -1
//
// Goes on with a rebase in progress. The return code stays as it was where there is no such
// operation.

#include <cstdint>
#include <cstring>

#include "module/upper_case.h"
#include "ops/branches.h"
#include "ops/rebase_steps.h"
#include "support/strings.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kRebaseOperation = {.pool_name = "rebase_op"};

// A step of an operation: false, and all reported, when the operation ends here.
using RebaseStep = bool(const RepoCall& call, git_rebase* rebase, const git_signature* signature);

bool drop_changes(const RepoCall& call, git_rebase*, const git_signature*) {
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = kCheckoutForce;
  if (required(GIT(call, git_checkout_head), call.repo.it, &options) == 0) return true;
  call.fail();
  return false;
}

bool commit_rest(const RepoCall& call, git_rebase* rebase, const git_signature* signature) {
  Progress progress;
  auto* count = GIT(call, git_rebase_operation_entrycount);
  progress.operations = count ? count(rebase) : SIZE_MAX;
  git_oid last_commit{};
  return commit_operations(call, rebase, signature, &progress, &last_commit);
}

bool finish(const RepoCall& call, git_rebase* rebase, const git_signature* signature) {
  if (!finish_rebase(call, rebase, signature)) return false;
  xpslog(message::kRebaseFinished);
  return true;
}

bool abort(const RepoCall& call, git_rebase* rebase, const git_signature*) {
  if (if_found(GIT(call, git_rebase_abort), rebase) < 0) {
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
    if (is_same_text(operation.word, word)) return &operation;
  }
  return nullptr;
}

// The id by way of its text, which stays all zeros when it cannot be written: libgit2 then refuses
// to move a branch to it.
int copy_id(const RepoCall& call, const git_oid* from, git_oid* to) {
  char text[GIT_OID_HEXSZ + 1];
  std::memset(text, '0', GIT_OID_HEXSZ);
  if_found(GIT(call, git_oid_fmt), text, from);
  text[GIT_OID_HEXSZ] = '\0';
  return required(GIT(call, git_oid_fromstrp), to, text);
}

// libgit2 leaves HEAD detached after a rebase that started from a commit id, and on its branch
// after one that another program started from a branch.
int find_head_commit(const RepoCall& call, const git_reference* head, git_oid* id) {
  const git_oid* target = if_found(GIT(call, git_reference_target), head);
  if (target) return copy_id(call, target, id);
  return required(GIT(call, git_reference_name_to_id), id, call.repo.it, kHead);
}

void move_branch_to_head(const RepoCall& call) {
  const PoolText name = call.text(kLocalBranchPrefix, 2);
  Held<git_reference> head(call);
  Held<git_reference> branch(call);
  auto* find = GIT(call, git_reference_lookup);
  git_oid id{};
  if (required(find, &head.it, call.repo.it, kHead) != 0 ||
      required(find, &branch.it, call.repo.it, name.text) != 0 ||
      find_head_commit(call, head.it, &id) != 0 ||
      set_branch_to_head(call, call.repo.it, name.text, id) < 0) {
    return call.fail();
  }
  *call.result = kSuccess;
}

void operate(const RepoCall& call) {
  const PoolText name = call.text(3);
  const PoolText email = call.text(4);
  Held<git_rebase> rebase(call);
  Held<git_signature> signature(call);
  if (required(GIT(call, git_rebase_open), &rebase.it, call.repo.it, nullptr) < 0 ||
      required(GIT(call, git_signature_now), &signature.it, name.text, email.text) < 0) {
    return call.fail();
  }
  const PoolText word = call.text(1);
  toUpperCase(word.text);
  const Operation* operation = find_operation(word.text);
  if (!operation) {
    xpslog(message::kInvalidRebaseOperation, word.text);
    return;
  }
  for (RebaseStep* step : operation->steps) {
    if (step && !step(call, rebase.it, signature.it)) return;
  }
  move_branch_to_head(call);
}

}  // namespace

int rebase_operation(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kRebaseOperation, arguments, result);
  if (call.is_ready()) operate(call);
  return 0;
}

}  // namespace uwugit
