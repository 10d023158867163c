#include "watchdog.h"

#include <sys/time.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdio>

#include "temporary_folders.h"

namespace uwugit::runner {
namespace {

std::string_view message;  // written before the clock runs: its handler formats nothing

// A call of libgit2 cannot be left in the middle, but the process can.
void end_process(int) {
  [[maybe_unused]] const auto written = write(STDERR_FILENO, message.data(), message.size());
  remove_temporary_folders();
  _exit(kExitTimeout);
}

void set_clock(double seconds) {
  itimerval clock{};
  clock.it_value.tv_sec = static_cast<time_t>(seconds);
  clock.it_value.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
  setitimer(ITIMER_REAL, &clock, nullptr);
}

}  // namespace

Watchdog::Watch::Watch(const Watchdog& watchdog, std::string_view what)
    : is_on_(watchdog.seconds_ > 0) {
  if (!is_on_) return;
  static char text[300];
  const int length = std::snprintf(
      text, sizeof text,
      "uwugit: %.*s took longer than %g seconds and was ended; what it was writing may be left "
      "behind unfinished\n",
      static_cast<int>(what.size()), what.data(), watchdog.seconds_);
  message = {text, static_cast<std::size_t>(length)};
  std::fflush(stdout);  // the handler cannot
  struct sigaction action {};
  action.sa_handler = end_process;
  sigfillset(&action.sa_mask);
  sigaction(SIGALRM, &action, nullptr);
  set_clock(watchdog.seconds_);
}

Watchdog::Watch::~Watch() {
  if (is_on_) set_clock(0);
}

}  // namespace uwugit::runner
