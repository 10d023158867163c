#include "gitbind/frame.h"

#include "module/messages.h"
#include "module/vector_stubs.h"

namespace uwugit {

GitCall::GitCall(const FrameRules& rules, double* return_code)
    : result(return_code), failure_(rules.failure) {
  if (rules.is_result_preset) *result = kFailure;
  if (rules.pool_name) pool = create_pool(rules.pool_name);
  git = loadGitModule();
  if (git && !is_supported_libgit2(git)) git = nullptr;
  if (!git) {
    if (rules.is_load_failure_reported) xpslog(message::kUnableToLoad);
    return;
  }
  is_initialised_ = init_git(git) > 0;
}

// Also after an initialisation that failed: libgit2 counts the attempt.
GitCall::~GitCall() {
  if (git) shutdown_git(git);
}

void GitCall::fail() {
  *result = failure_;
  log_git_error(git);
}

bool open_local_repo(GitCall& call, const char* path, git_repository** repo) {
  if (open_repo(call.git, path, repo) == 0) return true;
  *call.result = kFailure;
  xpslog(message::kUnableToOpen, path);
  return false;
}

}  // namespace uwugit
