// The companion git module: what a host's loader answers for the name "libgit2". It depends on the
// distribution's libgit2, whose functions are found through it, and stands in front of some of
// them: here of three, and elsewhere of those with a trap, a file for each trap.
//
// A program that brackets each piece of work with git_libgit2_init and git_libgit2_shutdown pays
// for libgit2 coming up and going down every time. Here libgit2 stays up between brackets, and each
// bracket is made to look like the first: the thread's error is cleared at its end, and libgit2 is
// taken down and comes up fresh when the bracket changed a process-wide option, or when what
// libgit2 reads at its start has changed since.

#include <cstdarg>
#include <mutex>

#include "kept_packs.h"
#include "next.h"
#include "process_options.h"
#include "reading_options.h"
#include "regular_expressions.h"
#include "repository_lock.h"
#include "ssh_hosts.h"
#include "start_state.h"

namespace {

class Libgit2 {
 public:
  int open_bracket() {
    const std::lock_guard lock(mutex_);
    if (depth_ == 0 && is_up_ && (options_.has_changes() || !start_.is_current())) take_down();
    if (!is_up_) {
      if (const int count = NEXT(git_libgit2_init)(); count < 0) return count;
      is_up_ = true;
      guard_ssh_hosts();
      set_reading_options();
      start_.take();
      options_.remember();
    }
    return ++depth_;
  }

  int close_bracket() {
    const std::lock_guard lock(mutex_);
    if (depth_ == 0) return 0;
    if (--depth_ > 0) return depth_;
    give_back_match_block();
    git_error_clear();
    if (options_.has_changes()) take_down();
    return 0;
  }

  void note_change(int option) {
    const std::lock_guard lock(mutex_);
    options_.note_change(option);
  }

  void unload() {
    const std::lock_guard lock(mutex_);
    if (is_up_) take_down();
  }

 private:
  void take_down() {
    let_packs_go();
    unguard_ssh_hosts();
    NEXT(git_libgit2_shutdown)();
    is_up_ = false;
    options_.restore();
  }

  std::mutex mutex_;
  int depth_ = 0;
  bool is_up_ = false;
  StartState start_;
  ProcessOptions options_;
};

// Lives as long as the companion, and at the end of the process beyond it: whoever still holds a
// bracket then may use it.
Libgit2* instance = nullptr;
std::once_flag made;

Libgit2& libgit2() {
  std::call_once(made, [] { instance = new Libgit2; });
  return *instance;
}

// When the process ends, the destructors of objects run before any library is finished. When the
// companion alone is unloaded, they are part of its finish and run after the functions for it.
bool is_process_ending = false;
struct EndOfProcess {
  ~EndOfProcess() { is_process_ending = true; }
} const end_of_process;

__attribute__((destructor)) void unload() {
  if (is_process_ending || !instance) return;
  instance->unload();
  delete instance;
}

}  // namespace

EXPORT int git_libgit2_init() {
  enter_bracket();
  return libgit2().open_bracket();
}

EXPORT int git_libgit2_shutdown() {
  leave_bracket();
  return libgit2().close_bracket();
}

EXPORT int git_libgit2_opts(int option, ...) {
  constexpr int refused = -1;
  if (is_refused_option(option)) return refused;
  va_list arguments;
  va_start(arguments, option);
  const int code = forward_option(option, arguments);
  va_end(arguments);
  if (is_changing_option(option)) libgit2().note_change(option);
  return code;
}
