// Going back.
//
// reset_to_commit(repository, commit, mode) -> 0
//     Moves the current branch to the commit, given by its whole id. SOFT keeps index and working
//     tree, MIXED makes the index that of the commit, HARD the working tree too; any case. -1: no
//     such repository, commit or mode, or libgit2 failed. Unchanged: libgit2 could not be loaded or
//     initialised.
//
// reset_file_in_index(repository, file) -> 0
//     Makes a file in index and working tree that of HEAD. The file is one of libgit2's patterns;
//     what HEAD does not have is deleted. -1: no such repository, an empty file path, or libgit2
//     failed. Unchanged: as above.
//
// Example: reset_to_commit("/home/me/project", "9fceb02d0ae598e95dc970b74767f19372d61af8", "SOFT");

#include "gitbind/frame.h"
#include "module/messages.h"
#include "module/vector_stubs.h"
#include "store/object_list.h"
#include "store/upper_case.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kResetToCommit = {.pool_name = "resetPool",
                                       .is_result_preset = false,
                                       .is_load_failure_reported = false,
                                       .failure = kFailure};
constexpr FrameRules kResetFile = {.pool_name = "reset_file",
                                   .is_result_preset = false,
                                   .is_load_failure_reported = false,
                                   .failure = kFailure};

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
    if (is_same_key(name, mode.name)) return &mode;
  }
  return nullptr;
}

git_checkout_options checkout_options(unsigned strategy) {
  git_checkout_options options = {};
  options.version = GIT_CHECKOUT_OPTIONS_VERSION;
  options.checkout_strategy = strategy;
  return options;
}

bool find_commit(GitCall& call, git_repository* repo, const char* text, git_commit** commit) {
  auto* parse = GIT(call, git_oid_fromstrp);
  auto* find = GIT(call, git_commit_lookup);
  git_oid id;
  return parse && find && parse(&id, text) == 0 && find(commit, repo, &id) == 0;
}

// A reset that failed without saying why counts as done when the state of a merge or the like can
// be cleared: that is what libgit2 leaves for last.
bool move_to_commit(GitCall& call, git_repository* repo, git_commit* commit,
                    const ResetMode& mode) {
  auto* reset = GIT(call, git_reset);
  if (!reset) return true;
  const git_checkout_options options = checkout_options(mode.strategy);
  if (reset(repo, reinterpret_cast<git_object*>(commit), mode.kind, &options) >= 0) return true;
  if (last_git_error(call.git)) return false;
  auto* clean_up = GIT(call, git_repository_state_cleanup);
  return clean_up && clean_up(repo) >= 0;
}

void reset_branch(GitCall& call, const HostArgumentBlock* arguments, const char* path) {
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path, &repo.it)) return;
  Held<git_commit> commit(call.git, free_git_commit);
  const PoolText id(call.pool, text_argument(arguments, 1));
  if (!find_commit(call, repo.it, id.text, &commit.it)) return call.fail();

  const PoolText mode_name(call.pool, text_argument(arguments, 2));
  toUpperCase(mode_name.text);
  const ResetMode* mode = find_mode(mode_name.text);
  if (!mode) {
    *call.result = kFailure;
    xpslog(message::kInvalidResetMode, mode_name.text);
    return;
  }
  if (!move_to_commit(call, repo.it, commit.it, *mode)) return call.fail();
  xpslog(message::kResetToCommit, mode_name.text, id.text);
  *call.result = kSuccess;
}

void reset_file(GitCall& call, const HostArgumentBlock* arguments, const char* path) {
  Held<git_repository> repo(call.git, free_git_repo);
  if (!open_local_repo(call, path, &repo.it)) return;
  const PoolText file(call.pool, text_argument(arguments, 1));
  if (!*file.text) {  // libgit2 would reset every file and delete all untracked ones
    *call.result = kFailure;
    xpslog(message::kFileRequired);
    return;
  }
  git_checkout_options options = checkout_options(kCheckoutForce | kCheckoutRemoveUntracked);
  char* one_path = file.text;
  options.paths = {&one_path, 1};
  auto* checkout = GIT(call, git_checkout_head);
  if (checkout && checkout(repo.it, &options) != 0) return call.fail();
  *call.result = kSuccess;
  xpslog(message::kFileReset, file.text);
}

}  // namespace

int reset_to_commit(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kResetToCommit, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  reset_branch(call, arguments, path.text);
  return 0;
}

int reset_file_in_index(const HostArgumentBlock* arguments, double* result) {
  GitCall call(kResetFile, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, text_argument(arguments, 0));
  reset_file(call, arguments, path.text);
  return 0;
}

}  // namespace uwugit
