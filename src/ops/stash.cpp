// The stash: changes put aside.
//
// stash(repository, name, email) -> 0, -1
// stash_pop(repository) -> 0, or libgit2's code
// stash_apply(repository [, position]) -> 0, or libgit2's code
// stash_drop(repository [, position]) -> 0, -1
//
// In the whole group a libgit2 function that is missing counts as a step that succeeded.

#include "gitbind/frame.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kStash = {.pool_name = "stash"};
constexpr FrameRules kStashPop = {.pool_name = "stash_pop"};
constexpr FrameRules kStashApply = {.pool_name = "stash_apply"};
constexpr FrameRules kStashDrop = {.pool_name = "stash_drop"};

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
std::size_t position_of(const RepoCall& call) {
  return call.count() == 2 ? static_cast<std::size_t>(call.number(1)) : kLatest;
}

// The apply functions hand libgit2's code on, so that callers can tell why.
void conclude_apply(const RepoCall& call, int code, const char* note) {
  if (code == 0) return call.succeed(note, call.path.text);
  call.give_up();
  *call.result = code;
}

void save(const RepoCall& call) {
  const PoolText name = call.text(1);
  const PoolText email = call.text(2);
  Held<git_signature> signature(call);
  if (if_found(GIT(call, git_signature_now), &signature.it, name.text, email.text) != 0) {
    return call.fail();
  }
  auto* stash_save = GIT(call, git_stash_save);
  git_oid id{};
  if (stash_save && (!signature.it || stash_save(&id, call.repo.it, signature.it, nullptr,
                                                 GIT_STASH_DEFAULT) != 0)) {
    return call.fail();
  }
  call.succeed(message::kStashed, call.path.text);
}

void drop(const RepoCall& call) {
  if (if_found(GIT(call, git_stash_drop), call.repo.it, position_of(call)) != 0) {
    return call.fail();
  }
  call.succeed(message::kStashDropped, call.path.text);
}

}  // namespace

int stash(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kStash, arguments, result);
  if (call.is_ready()) save(call);
  return 0;
}

int stash_pop(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kStashPop, arguments, result);
  if (!call.is_ready()) return 0;
  const git_stash_apply_options options = apply_options();
  const int code = if_found(GIT(call, git_stash_pop), call.repo.it, kLatest, &options);
  conclude_apply(call, code, message::kStashPopped);
  return 0;
}

int stash_apply(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kStashApply, arguments, result);
  if (!call.is_ready()) return 0;
  const git_stash_apply_options options = apply_options();
  const int code = if_found(GIT(call, git_stash_apply), call.repo.it, position_of(call), &options);
  conclude_apply(call, code, message::kStashApplied);
  return 0;
}

int stash_drop(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kStashDrop, arguments, result);
  if (call.is_ready()) drop(call);
  return 0;
}

}  // namespace uwugit
