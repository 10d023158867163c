// Rebasing a branch.
//
// rebase(repository, branch id, onto id, name, email) -> 0
//     Applies the commits that lead to the branch id, and that the onto id does not have, on top of
//     the onto id, and moves the branch that HEAD is on to the last of them. Authors and messages
//     stay, the committer is the one given. -1: failed. After a commit that does not apply, the
//     rebase is in progress.
//
// rebase_operation(repository, operation, branch, name, email) -> 0
//     Goes on with a rebase in progress: SKIP throws the changes of the commit that stopped away
//     and then does as CONTINUE, which applies the commits that are left and then does as FINISH;
//     ABORT returns to where the rebase started. In the end HEAD is on the branch named, which is
//     moved there. -1: failed. Unchanged: there is no such operation.
//
// Example: rebase("/home/me/project", topic_id, main_id, "Me", "me@example.org");
// rebase_operation("/home/me/project", "ABORT", "topic", "Me", "me@example.org");
//
// An attempt that did not commit all its operations is undone and made again. So that nobody waits
// for ever, attempts that keep ending alike end the rebase.

#include <cstring>
#include <string>
#include <utility>

#include "gitbind/frame.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "ops/branches.h"
#include "store/object_list.h"
#include "store/upper_case.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kRebase = {.pool_name = "rebase",
                                .is_result_preset = false,
                                .is_load_failure_reported = true,
                                .failure = kFailure};
constexpr FrameRules kRebaseOperation = {.pool_name = "rebase_op",
                                         .is_result_preset = false,
                                         .is_load_failure_reported = true,
                                         .failure = kFailure};
constexpr int kMostRepeats = 100;  // of an attempt that ends like the one before it
constexpr char kHead[] = "HEAD";

// How an attempt ended.
struct Outcome {
  std::size_t operations = 0;
  std::size_t counted = 0;    // operations that were committed or need no commit
  std::size_t failed_at = 0;  // the first operation that libgit2 did not give, counted from 1
  int rc = 0;                 // why not
  std::string error;

  bool operator==(const Outcome&) const = default;
};

void note_failure(GitModule* git, std::size_t operation, int rc, Outcome* outcome) {
  if (outcome->failed_at != 0) return;
  outcome->failed_at = operation;
  outcome->rc = rc;
  const git_error* error = last_git_error(git);
  if (error) outcome->error = error->message;
}

void fail_rebase(GitCall& call) {
  xpslog(message::kRebaseError);
  call.fail();
}

void fail_commit(GitCall& call, const git_rebase_operation* operation) {
  auto* as_text = GIT(call, git_oid_tostr_s);
  xpslog(message::kRebaseConflict, as_text ? as_text(&operation->id) : "");
  xpslog(message::kRebaseAdvice);
  call.fail();
}

bool needs_commit(const git_rebase_operation* operation) {
  return operation->type != GIT_REBASE_OPERATION_SQUASH &&
         operation->type != GIT_REBASE_OPERATION_FIXUP &&
         operation->type != GIT_REBASE_OPERATION_EXEC;
}

// Commits the operations that are left. False, and all reported, when one of them cannot be
// committed: the rebase stays in progress.
//
// An operation that libgit2 cannot give, for whatever reason, is passed over: that the count falls
// short tells `rebase` so. `rebase_operation` has no count to compare, which is why a resolution
// must have been committed before CONTINUE: with changes that are only staged, libgit2 gives none
// of the operations that are left.
bool commit_operations(GitCall& call, git_rebase* rebase, const git_signature* signature,
                       Outcome* outcome, git_oid* last_commit) {
  for (std::size_t asked = 1;; ++asked) {
    auto* next = GIT(call, git_rebase_next);
    if (!next) {
      fail_rebase(call);
      return false;
    }
    git_rebase_operation* operation = nullptr;
    const int rc = next(&operation, rebase);
    if (rc == GIT_ITEROVER) return true;
    if (!operation) {
      note_failure(call.git, asked, rc, outcome);
      if (asked > outcome->operations) return true;  // there are no more than these
      continue;
    }
    if (needs_commit(operation) && attempt(GIT(call, git_rebase_commit), last_commit, rebase,
                                           nullptr, signature, nullptr, nullptr) < 0) {
      fail_commit(call, operation);
      return false;
    }
    ++outcome->counted;
  }
}

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
