// Going back.
//
// reset_to_commit(repository, commit, mode) -> 0, -1
// reset_file_in_index(repository, file) -> 0, -1

#include "gitbind/frame.h"
#include "module/upper_case.h"
#include "support/strings.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kResetToCommit = {.pool_name = "resetPool", .is_load_failure_reported = false};
constexpr FrameRules kResetFile = {.pool_name = "reset_file", .is_load_failure_reported = false};

struct ResetMode {
  const char* name;
  git_reset_t kind;
  unsigned strategy;
};
constexpr ResetMode kModes[] = {
    {"SOFT", GIT_RESET_SOFT, kCheckoutSafe},
    {"MIXED", GIT_RESET_MIXED, kCheckoutSafe},
    {"HARD", GIT_RESET_HARD, kCheckoutForce},
};
static_assert(GIT_RESET_SOFT == 1 && GIT_RESET_MIXED == 2 && GIT_RESET_HARD == 3);

const ResetMode* find_mode(const char* name) {
  for (const ResetMode& mode : kModes) {
    if (is_same_text(name, mode.name)) return &mode;
  }
  return nullptr;
}

git_checkout_options checkout_options(unsigned strategy) {
  git_checkout_options options = {};
  options.version = GIT_CHECKOUT_OPTIONS_VERSION;
  options.checkout_strategy = strategy;
  return options;
}

// A reset that failed without saying why counts as done when the state of a merge or the like can
// be cleared: that is what libgit2 leaves for last. A libgit2 without the reset does nothing.
bool move_to_commit(const RepoCall& call, git_commit* commit, const ResetMode& mode) {
  const git_checkout_options options = checkout_options(mode.strategy);
  if (if_found(GIT(call, git_reset), call.repo.it, reinterpret_cast<git_object*>(commit), mode.kind,
               &options) >= 0) {
    return true;
  }
  if (last_git_error(call)) return false;
  return required(GIT(call, git_repository_state_cleanup), call.repo.it) >= 0;
}

void reset_branch(const RepoCall& call) {
  const PoolText id = call.text(1);
  git_oid oid;
  Held<git_commit> commit(call);
  if (required(GIT(call, git_oid_fromstrp), &oid, id.text) != 0 ||
      required(GIT(call, git_commit_lookup), &commit.it, call.repo.it, &oid) != 0) {
    return call.fail();
  }
  const PoolText mode_name = call.text(2);
  toUpperCase(mode_name.text);
  const ResetMode* mode = find_mode(mode_name.text);
  if (!mode) return call.fail(message::kInvalidResetMode, mode_name.text);
  if (!move_to_commit(call, commit.it, *mode)) return call.fail();
  call.succeed(message::kResetToCommit, mode_name.text, id.text);
}

void reset_file(const RepoCall& call) {
  const PoolText file = call.text(1);
  // libgit2 would reset every file and delete all untracked ones.
  if (!*file.text) return call.fail(message::kFileRequired);
  git_checkout_options options = checkout_options(kCheckoutForce | kCheckoutRemoveUntracked);
  char* one_path = file.text;
  options.paths = {&one_path, 1};
  if (if_found(GIT(call, git_checkout_head), call.repo.it, &options) != 0) return call.fail();
  call.succeed(message::kFileReset, file.text);
}

}  // namespace

int reset_to_commit(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kResetToCommit, arguments, result);
  if (call.is_ready()) reset_branch(call);
  return 0;
}

int reset_file_in_index(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kResetFile, arguments, result);
  if (call.is_ready()) reset_file(call);
  return 0;
}

}  // namespace uwugit
