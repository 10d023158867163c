#include "gitbind/frame.h"

namespace uwugit {

GitCall::GitCall(const FrameRules& rules, const HostArgumentBlock* given, double* return_code)
    : arguments(given), result(return_code), rules_(rules) {
  if (rules.is_result_preset) *result = kFailure;
  if (rules.is_broken_pipe_held_off) broken_pipe_guard_.emplace();
  if (rules.pool_name) pool = create_pool(rules.pool_name);
  git = loadGitModule();
  if (git && !rules.is_any_version_taken && !is_supported_libgit2(git)) git = nullptr;
  if (!git) {
    if (rules.is_load_failure_reported) xpslog(message::kUnableToLoad);
    return;
  }
  is_ready_ = init_git(git) > 0;
}

// Also after an initialisation that failed: libgit2 counts the attempt.
GitCall::~GitCall() {
  if (git) shutdown_git(git);
}

void GitCall::fail() const {
  *result = rules_.failure;
  log_git_error(git);
}

void GitCall::fail(const char* error, const char* subject) const {
  *result = rules_.failure;
  xpslog(error, subject);
}

RepoCall::RepoCall(const FrameRules& rules, const HostArgumentBlock* given, double* return_code)
    : GitCall(rules, given, return_code), path(text(0)), repo(git) {
  if (!is_ready_) return;
  is_ready_ = open_repo(git, path.text, &repo.it) == 0;
  if (is_ready_ || !rules.opening_error) return;
  if (rules.opening_error == message::kGitError) {
    fail();
  } else {
    fail(rules.opening_error, path.text);
  }
}

}  // namespace uwugit
