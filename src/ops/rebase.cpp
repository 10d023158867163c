// rebase(repository, branch id, onto id, name, email) -> 0, -1
//
// The branch that is moved is the one that HEAD is on. An attempt that did not commit all its
// operations is undone and made again. So that nobody waits for ever, attempts that keep ending
// alike end the rebase.

#include <cstring>
#include <utility>

#include "ops/branches.h"
#include "ops/rebase_steps.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kRebase = {.pool_name = "rebase"};
constexpr int kMostRepeats = 100;  // of an attempt that ends like the one before it

// What is rebased, onto what, and by whom.
struct Rebase {
  explicit Rebase(GitModule* git) : branch(git), onto(git), signature(git), head(git) {}

  git_oid branch_id{};
  git_oid onto_id{};
  Held<git_annotated_commit> branch;
  Held<git_annotated_commit> onto;
  Held<git_signature> signature;
  Held<git_reference> head;  // as it was at the start
};

bool is_same_id(const git_oid& left, const git_oid& right) {
  return std::memcmp(left.id, right.id, sizeof left.id) == 0;
}

// The full name of the branch that HEAD was on; null when it was on none.
const char* head_branch(const RepoCall& call, const Rebase& rebase) {
  return if_found(GIT(call, git_reference_symbolic_target), rebase.head.it);
}

bool find_commits(const RepoCall& call, Rebase* rebase) {
  const PoolText branch = call.text(1);
  const PoolText onto = call.text(2);
  auto* parse = GIT(call, git_oid_fromstrp);
  auto* find = GIT(call, git_annotated_commit_lookup);
  return required(parse, &rebase->branch_id, branch.text) == 0 &&
         required(parse, &rebase->onto_id, onto.text) == 0 &&
         required(find, &rebase->branch.it, call.repo.it, &rebase->branch_id) == 0 &&
         required(find, &rebase->onto.it, call.repo.it, &rebase->onto_id) == 0;
}

bool begin_attempt(const RepoCall& call, const Rebase& rebase, git_rebase** attempt,
                   Progress* progress) {
  git_rebase_options options = GIT_REBASE_OPTIONS_INIT;
  options.checkout_options.checkout_strategy = kCheckoutSafe;
  auto* count = GIT(call, git_rebase_operation_entrycount);
  if (required(GIT(call, git_rebase_init), attempt, call.repo.it, rebase.branch.it, nullptr,
               rebase.onto.it, &options) < 0 ||
      !count) {
    fail_rebase(call);
    return false;
  }
  progress->operations = count(*attempt);
  return true;
}

int check_out(const RepoCall& call, const git_oid* id, unsigned strategy) {
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = strategy;
  Held<git_commit> commit(call);
  const int code = required(GIT(call, git_commit_lookup), &commit.it, call.repo.it, id);
  if (code < 0) return code;
  return required(GIT(call, git_checkout_tree), call.repo.it,
                  reinterpret_cast<git_object*>(commit.it), &options);
}

// libgit2 takes the working tree back to the commit to rebase over all that is in the way. Where
// that would overwrite something, the rebase stays in progress: false, and all reported.
bool undo_attempt(const RepoCall& call, const Rebase& rebase, git_rebase* attempt) {
  if (check_out(call, &rebase.branch_id, kCheckoutDryRun) < 0) {
    xpslog(message::kRebaseNotUndone);
    call.fail();
    return false;
  }
  if_found(GIT(call, git_rebase_abort), attempt);
  return true;
}

// The commit that HEAD was at; false when its branch had none.
bool find_head_commit(const RepoCall& call, const Rebase& rebase, git_oid* id) {
  const git_oid* target = if_found(GIT(call, git_reference_target), rebase.head.it);
  if (target) *id = *target;
  return target || required(GIT(call, git_reference_name_to_id), id, call.repo.it,
                            head_branch(call, rebase)) == 0;
}

// Rebasing leaves HEAD detached. A branch without a commit has nothing to check out.
void put_head_back(const RepoCall& call, const Rebase& rebase) {
  const char* branch = head_branch(call, rebase);
  git_oid id{};
  if ((find_head_commit(call, rebase, &id) && check_out(call, &id, kCheckoutSafe) < 0) ||
      (branch ? required(GIT(call, git_repository_set_head), call.repo.it, branch)
              : required(GIT(call, git_repository_set_head_detached), call.repo.it, &id)) < 0) {
    call.give_up();
  }
}

// Makes attempts until one has committed all its operations and is finished. False, and all
// reported, when that cannot be.
bool rebase_in_attempts(const RepoCall& call, const Rebase& rebase, git_oid* last_commit) {
  Progress previous;
  int repeats = 0;
  for (;;) {
    Held<git_rebase> attempt(call);
    Progress progress;
    *last_commit = rebase.onto_id;
    if (!begin_attempt(call, rebase, &attempt.it, &progress)) return false;
    if (!commit_operations(call, attempt.it, rebase.signature.it, &progress, last_commit)) {
      return false;
    }
    if (progress.done == progress.operations) {
      return finish_rebase(call, attempt.it, rebase.signature.it);
    }
    repeats = progress == previous ? repeats + 1 : 0;
    const bool is_hopeless = repeats == kMostRepeats;
    if (is_hopeless) fail_rebase(call);  // before libgit2 forgets why
    if (!undo_attempt(call, rebase, attempt.it)) return false;
    if (is_hopeless) {
      put_head_back(call, rebase);
      return false;
    }
    previous = std::move(progress);
  }
}

// When there was nothing to rebase, the result is the onto commit. Where HEAD's branch is another
// one than was named and has commits that the onto commit does not have, it stays at them.
int keep_own_commits(const RepoCall& call, const Rebase& rebase, git_oid* last_commit) {
  git_oid tip{};
  if (!is_same_id(*last_commit, rebase.onto_id) || !find_head_commit(call, rebase, &tip) ||
      is_same_id(tip, rebase.branch_id) || is_same_id(tip, rebase.onto_id) ||
      if_found(GIT(call, git_graph_descendant_of), call.repo.it, &rebase.onto_id, &tip) == 1) {
    return 0;
  }
  *last_commit = tip;
  return check_out(call, &tip, kCheckoutSafe);
}

void rebase_branch(const RepoCall& call) {
  Rebase rebase(call);
  const PoolText name = call.text(3);
  const PoolText email = call.text(4);
  if (!find_commits(call, &rebase) ||
      required(GIT(call, git_signature_now), &rebase.signature.it, name.text, email.text) != 0 ||
      required(GIT(call, git_reference_lookup), &rebase.head.it, call.repo.it, kHead) != 0) {
    return call.fail();
  }
  git_oid last_commit{};
  if (!rebase_in_attempts(call, rebase, &last_commit)) return;
  if (keep_own_commits(call, rebase, &last_commit) < 0 ||
      set_branch_to_head(call, call.repo.it, head_branch(call, rebase), last_commit) < 0) {
    return call.fail();
  }
  call.succeed(message::kRebased);
}

}  // namespace

int rebase(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kRebase, arguments, result);
  if (call.is_ready()) rebase_branch(call);
  return 0;
}

}  // namespace uwugit
