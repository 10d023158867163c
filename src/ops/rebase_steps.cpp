#include "ops/rebase_steps.h"

#include "module/messages.h"
#include "module/vector_stubs.h"

namespace uwugit {
namespace {

void note_failure(GitModule* git, std::size_t operation, int rc, Outcome* outcome) {
  if (outcome->failed_at != 0) return;
  outcome->failed_at = operation;
  outcome->rc = rc;
  const git_error* error = last_git_error(git);
  if (error) outcome->error = error->message;
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

}  // namespace

void fail_rebase(GitCall& call) {
  xpslog(message::kRebaseError);
  call.fail();
}

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

}  // namespace uwugit
