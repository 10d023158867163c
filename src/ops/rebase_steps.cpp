#include "ops/rebase_steps.h"

namespace uwugit {
namespace {

void note_failure(GitModule* git, std::size_t operation, int code, Progress* progress) {
  if (progress->failed_at != 0) return;
  progress->failed_at = operation;
  progress->code = code;
  const git_error* error = last_git_error(git);
  if (error) progress->error = error->message;
}

bool needs_commit(const git_rebase_operation* operation) {
  return operation->type != GIT_REBASE_OPERATION_SQUASH &&
         operation->type != GIT_REBASE_OPERATION_FIXUP &&
         operation->type != GIT_REBASE_OPERATION_EXEC;
}

// Author and message of the commit stay, the signature is that of its committer.
bool commit_operation(const RepoCall& call, git_rebase* rebase,
                      const git_rebase_operation* operation, const git_signature* signature,
                      git_oid* commit) {
  if (!needs_commit(operation) || required(GIT(call, git_rebase_commit), commit, rebase, nullptr,
                                           signature, nullptr, nullptr) >= 0) {
    return true;
  }
  const char* id = if_found(GIT(call, git_oid_tostr_s), &operation->id);
  xpslog(message::kRebaseConflict, id ? id : "");
  xpslog(message::kRebaseAdvice);
  call.fail();
  return false;
}

}  // namespace

void fail_rebase(const RepoCall& call) {
  xpslog(message::kRebaseError);
  call.fail();
}

// An operation that libgit2 cannot give, for whatever reason, is passed over: that the count falls
// short tells `rebase` so. `rebase_operation` has no count to compare: with changes that are only
// staged, libgit2 by itself gives none of the operations that are left and finishes without them.
// The companion's libgit2 refuses to finish then.
bool commit_operations(const RepoCall& call, git_rebase* rebase, const git_signature* signature,
                       Progress* progress, git_oid* last_commit) {
  for (std::size_t asked = 1;; ++asked) {
    auto* next = GIT(call, git_rebase_next);
    if (!next) {
      fail_rebase(call);
      return false;
    }
    git_rebase_operation* operation = nullptr;
    const int code = next(&operation, rebase);
    if (code == GIT_ITEROVER) return true;
    if (operation) {
      if (!commit_operation(call, rebase, operation, signature, last_commit)) return false;
      ++progress->done;
    } else {
      note_failure(call, asked, code, progress);
      if (asked > progress->operations) return true;  // there are no more than these
    }
  }
}

bool finish_rebase(const RepoCall& call, git_rebase* rebase, const git_signature* signature) {
  if (required(GIT(call, git_rebase_finish), rebase, signature) >= 0) return true;
  call.fail();
  return false;
}

}  // namespace uwugit
