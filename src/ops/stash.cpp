// The stash: changes put aside.
//
// stash(repository, name, email) -> 0
//     Puts the staged and unstaged changes of tracked files aside as a new entry and restores the
//     files to HEAD; untracked and ignored files stay. -1: failed, also when nothing has changed.
//
// stash_pop(repository) -> 0
//     Applies the latest entry to the working tree (the index is not restored) and drops it. -1:
//     the repository cannot be opened. Other: libgit2's code, -3 when nothing is stashed.
//
// stash_apply(repository [, position]) -> 0
//     As stash_pop with the entry of that position (0: the latest), which is kept.
//
// stash_drop(repository [, position]) -> 0
//     Discards an entry. -1: failed.
//
// Example: stash("/home/me/project", "Me", "me@example.org"); stash_apply("/home/me/project");
// stash_drop("/home/me/project");

#include "gitbind/frame.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules stash_rules(const char* pool_name) {
  return {.pool_name = pool_name,
          .is_result_preset = false,
          .is_load_failure_reported = true,
          .failure = kFailure};
}
constexpr FrameRules kStash = stash_rules("stash");
constexpr FrameRules kStashPop = stash_rules("stash_pop");
constexpr FrameRules kStashApply = stash_rules("stash_apply");
constexpr FrameRules kStashDrop = stash_rules("stash_drop");

constexpr std::size_t kLatest = 0;

// With conflicts allowed, a file that has changed locally is passed over or gets conflict markers,
// and libgit2 counts the apply as done. For stash_pop this means that the entry is dropped all the
// same; callers who may have such files apply, look, and then drop.
git_stash_apply_options apply_options() {
  git_stash_apply_options options = GIT_STASH_APPLY_OPTIONS_INIT;
  options.checkout_options.checkout_strategy = kCheckoutSafe | kCheckoutAllowConflicts;
  options.checkout_options.ancestor_label = "Ancestor";
  options.checkout_options.our_label = "Working Directory";
  options.checkout_options.their_label = "Stash";
  return options;
}

// A position counts only when it is the second of exactly two arguments.
std::size_t position_argument(const HostArgumentBlock* arguments) {
  return arguments->count == 2 ? static_cast<std::size_t>(number_argument(arguments, 1)) : kLatest;
}

void succeed(GitCall& call, const char* note, const char* path) {
  *call.result = kSuccess;
  xpslog(note, path);
}

// The apply functions hand libgit2's code on, so that callers can tell why.
void finish_apply(GitCall& call, int code, const char* note, const char* path) {
  if (code == 0) return succeed(call, note, path);
  log_git_error(call.git);
  *call.result = code;
}

// Here, as in the whole group, a libgit2 function that is missing counts as a step that succeeded.
void save(GitCall& call, git_repository* repo, const char* path, const char* name,
          const char* email) {
  Held<git_signature> signature(call.git, free_git_signature);
  auto* sign = GIT(call, git_signature_now);
  if (sign && sign(&signature.it, name, email) != 0) return call.fail();
  git_oid id{};
  auto* stash_save = GIT(call, git_stash_save);
  if (stash_save &&
      (!signature.it || stash_save(&id, repo, signature.it, nullptr, GIT_STASH_DEFAULT) != 0)) {
    return call.fail();
  }
  succeed(call, message::kStashed, path);
}

}  // namespace

int stash(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kStash, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const PoolText name(call.pool, text_argument(arguments, 1));
  const PoolText email(call.pool, text_argument(arguments, 2));
  save(call, repo.it, path.text, name.text, email.text);
  return 0;
}

int stash_pop(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kStashPop, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const git_stash_apply_options options = apply_options();
  auto* pop = GIT(call, git_stash_pop);
  const int code = pop ? pop(repo.it, kLatest, &options) : 0;
  finish_apply(call, code, message::kStashPopped, path.text);
  return 0;
}

int stash_apply(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kStashApply, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  const git_stash_apply_options options = apply_options();
  auto* apply = GIT(call, git_stash_apply);
  const int code = apply ? apply(repo.it, position_argument(arguments), &options) : 0;
  finish_apply(call, code, message::kStashApplied, path.text);
  return 0;
}

int stash_drop(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kStashDrop, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path.text, &repo.it)) return 0;
  auto* drop = GIT(call, git_stash_drop);
  if (drop && drop(repo.it, position_argument(arguments)) != 0) {
    call.fail();
  } else {
    succeed(call, message::kStashDropped, path.text);
  }
  return 0;
}

}  // namespace uwugit
