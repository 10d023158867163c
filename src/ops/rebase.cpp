// Rebasing a branch.
//
// rebase(repository, branch id, onto id, name, email) -> 0
//     Applies the commits that lead to the branch id, and that the onto id does not have, on top of
//     the onto id, and moves the branch that HEAD is on to the last of them. Authors and messages
//     stay, the committer is the one given. -1: failed. After a commit that does not apply, the
//     rebase is in progress.
//
// Example: rebase("/home/me/project", topic_id, main_id, "Me", "me@example.org");
//
// An attempt that did not commit all its operations is undone and made again. So that nobody waits
// for ever, attempts that keep ending alike end the rebase.

#include <cstring>
#include <utility>

#include "module/messages.h"
#include "module/vector_stubs.h"
#include "ops/branches.h"
#include "ops/rebase_steps.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kRebase = {.pool_name = "rebase",
                                .is_result_preset = false,
                                .is_load_failure_reported = true,
                                .failure = kFailure};
constexpr int kMostRepeats = 100;  // of an attempt that ends like the one before it

// What `rebase` works with.
struct RebaseParts {
  git_repository* repo;
  const char* head_branch;  // full name of the branch that HEAD is on; null when it is on none
  const git_annotated_commit* branch;
  const git_annotated_commit* onto;
  git_oid branch_id;
  git_oid onto_id;
  const git_signature* signature;
};

// To undo an attempt, libgit2 takes the working tree to the commit to rebase, over all that is in
// the way: files that HEAD does not track must not be in the way to begin with. Git refuses as
// well.
bool is_way_back_clear(GitCall& call, const RebaseParts& parts) {
  auto* look_up = GIT(call, git_commit_lookup);
  auto* check_out = GIT(call, git_checkout_tree);
  if (!look_up || !check_out) return true;
  Held<git_commit> commit(call.git, free_git_commit);
  git_checkout_options options = GIT_CHECKOUT_OPTIONS_INIT;
  options.checkout_strategy = kCheckoutDryRun;
  return look_up(&commit.it, parts.repo, &parts.branch_id) == 0 &&
         check_out(parts.repo, reinterpret_cast<git_object*>(commit.it), &options) == 0;
}

bool begin_attempt(GitCall& call, const RebaseParts& parts, git_rebase** rebase,
                   std::size_t* operations) {
  git_rebase_options options = GIT_REBASE_OPTIONS_INIT;
  options.checkout_options.checkout_strategy = kCheckoutSafe;
  auto* init = GIT(call, git_rebase_init);
  auto* count = GIT(call, git_rebase_operation_entrycount);
  if (!init || init(rebase, parts.repo, parts.branch, nullptr, parts.onto, &options) < 0 ||
      !count) {
    fail_rebase(call);
    return false;
  }
  *operations = count(*rebase);
  return true;
}

// libgit2's abort leaves HEAD detached at the commit that was to be rebased. Puts it back on its
// branch when that is where the branch is.
void return_to_branch(GitCall& call, const RebaseParts& parts) {
  git_oid id{};
  if (parts.head_branch &&
      attempt(GIT(call, git_reference_name_to_id), &id, parts.repo, parts.head_branch) == 0 &&
      std::memcmp(&id, &parts.branch_id, sizeof id) == 0) {
    attempt(GIT(call, git_repository_set_head), parts.repo, parts.head_branch);
  }
}

// Makes attempts until one has committed all its operations and is finished. False, and all
// reported, when that cannot be.
bool rebase_in_attempts(GitCall& call, const RebaseParts& parts, git_oid* last_commit) {
  if (!is_way_back_clear(call, parts)) {
    fail_rebase(call);
    return false;
  }
  Outcome previous;
  int repeats = 0;
  for (;;) {
    Held<git_rebase> rebase(call.git, free_git_rebase);
    Outcome outcome;
    if (!begin_attempt(call, parts, &rebase.it, &outcome.operations)) return false;
    *last_commit = parts.onto_id;
    if (!commit_operations(call, rebase.it, parts.signature, &outcome, last_commit)) return false;
    if (outcome.counted == outcome.operations) {
      const bool is_finished =
          attempt(GIT(call, git_rebase_finish), rebase.it, parts.signature) >= 0;
      if (!is_finished) call.fail();
      return is_finished;
    }
    repeats = outcome == previous ? repeats + 1 : 0;
    const bool is_hopeless = repeats == kMostRepeats;
    if (is_hopeless) fail_rebase(call);
    attempt(GIT(call, git_rebase_abort), rebase.it);
    if (is_hopeless) {
      return_to_branch(call, parts);
      return false;
    }
    previous = std::move(outcome);
  }
}

bool find_commit(GitCall& call, git_repository* repo, const char* text, git_oid* id,
                 git_annotated_commit** commit) {
  return attempt(GIT(call, git_oid_fromstrp), id, text) == 0 &&
         attempt(GIT(call, git_annotated_commit_lookup), commit, repo, id) == 0;
}

void rebase_branch(GitCall& call, RebaseParts parts, const char* branch_text, const char* onto_text,
                   const char* name, const char* email) {
  Held<git_annotated_commit> branch(call.git, free_git_annotated_commit);
  Held<git_annotated_commit> onto(call.git, free_git_annotated_commit);
  if (!find_commit(call, parts.repo, branch_text, &parts.branch_id, &branch.it) ||
      !find_commit(call, parts.repo, onto_text, &parts.onto_id, &onto.it)) {
    return call.fail();
  }
  Held<git_signature> signature(call.git, free_git_signature);
  if (attempt(GIT(call, git_signature_now), &signature.it, name, email) != 0) return call.fail();
  Held<git_reference> head(call.git, free_git_reference);
  if (attempt(GIT(call, git_reference_lookup), &head.it, parts.repo, kHead) != 0) {
    return call.fail();
  }
  auto* symbolic_target = GIT(call, git_reference_symbolic_target);
  parts.head_branch = symbolic_target ? symbolic_target(head.it) : nullptr;
  parts.branch = branch.it;
  parts.onto = onto.it;
  parts.signature = signature.it;

  git_oid last_commit{};
  if (!rebase_in_attempts(call, parts, &last_commit)) return;
  if (set_branch_to_head(call.git, parts.repo, parts.head_branch, last_commit) < 0) {
    return call.fail();
  }
  *call.result = kSuccess;
  xpslog(message::kRebased);
}

}  // namespace

int rebase(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kRebase, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const PoolText branch(call.pool, text_argument(arguments, 1));
  const PoolText onto(call.pool, text_argument(arguments, 2));
  const PoolText name(call.pool, text_argument(arguments, 3));
  const PoolText email(call.pool, text_argument(arguments, 4));
  rebase_branch(call, {.repo = repo.it}, branch.text, onto.text, name.text, email.text);
  return 0;
}

}  // namespace uwugit
