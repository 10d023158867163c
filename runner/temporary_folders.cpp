#include "temporary_folders.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "process.h"

namespace uwugit::runner {
namespace {

namespace fs = std::filesystem;

// All folders lie in one, whose name stays where it is once it is known: the handler of a signal
// reads it at any time.
std::string all_folders;
volatile pid_t owner = 0;  // 0 as long as there is none; a forked process owns none

void end_by_signal(int number) {
  remove_temporary_folders();
  raise(number);  // now with its usual effect, when the handler has returned
}

// A signal that is ignored or handled already is left alone.
void handle_signals() {
  constexpr int kSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGILL,  SIGABRT, SIGBUS,  SIGFPE, SIGUSR1,
                              SIGSEGV, SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGXFSZ};
  for (const int number : kSignals) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action.sa_handler = end_by_signal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigfillset(&action.sa_mask);
    sigaction(number, &action, nullptr);
  }
}

}  // namespace

fs::path make_temporary_folder() {
  static int number = 0;
  if (owner != getpid()) {
    all_folders = temporary_folder();
    owner = getpid();
    handle_signals();
    std::atexit(remove_temporary_folders);
  }
  fs::path folder = fs::path(all_folders) / std::to_string(++number);
  fs::create_directory(folder);
  return folder;
}

// Another program does it, since next to nothing else is allowed in the handler of a signal. _Fork
// is fork without the locks of the C library, which the signal may have found locked.
void remove_temporary_folders() noexcept {
  if (owner != getpid()) return;
  owner = 0;
  const pid_t child = _Fork();
  if (child == 0) {
    execl("/bin/rm", "rm", "-rf", "--", all_folders.c_str(), nullptr);
    _exit(1);
  }
  while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace uwugit::runner
