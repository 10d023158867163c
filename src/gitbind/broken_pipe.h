// Writing to a connection that the other side has closed.
#pragma once

#include <csignal>

namespace uwugit {

// libgit2 writes to its connections without asking the system to spare it SIGPIPE, which would end
// the host when a server hangs up during a push. Keeps the signal from the calling thread while it
// lives; a write then just fails.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard();
  ~BrokenPipeGuard();
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

 private:
  bool was_pending_;
  sigset_t mask_before_;
};

}  // namespace uwugit
