#include "gitbind/broken_pipe.h"

#include <pthread.h>
#include <ctime>

namespace uwugit {
namespace {

sigset_t only_broken_pipe() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  return set;
}

bool is_pending() {
  sigset_t pending;
  sigemptyset(&pending);
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

BrokenPipeGuard::BrokenPipeGuard() : was_pending_(is_pending()) {
  const sigset_t set = only_broken_pipe();
  pthread_sigmask(SIG_BLOCK, &set, &mask_before_);
}

// A signal that arrived while it was held off is taken away before the old mask is restored. One
// that was pending before belongs to the host and stays.
BrokenPipeGuard::~BrokenPipeGuard() {
  const sigset_t set = only_broken_pipe();
  const timespec at_once{};
  if (!was_pending_ && is_pending()) sigtimedwait(&set, nullptr, &at_once);
  pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
}

}  // namespace uwugit
