#include "interrupt.h"

#include <csignal>
#include <ctime>

#include "temporary_folders.h"

namespace uwugit::runner {
namespace {

volatile std::sig_atomic_t interruptible = 0;  // how many there are
volatile std::sig_atomic_t was_interrupted = 0;
timespec first_time;  // when it was noted

double seconds_since(const timespec& start) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec - start.tv_sec) +
         static_cast<double>(now.tv_nsec - start.tv_nsec) / 1e9;
}

// Some programs, such as timeout, send a signal to a process and then to its whole group. Both
// mean one Ctrl-C. Keys that are pressed come from the kernel, and each counts.
bool is_repetition(const siginfo_t& info) {
  constexpr double kSeconds = 0.5;
  return info.si_code != SI_KERNEL && seconds_since(first_time) < kSeconds;
}

void handle_interrupt(int number, siginfo_t* info, void*) {
  if (was_interrupted && is_repetition(*info)) return;
  if (interruptible != 0 && !was_interrupted) {
    clock_gettime(CLOCK_MONOTONIC, &first_time);
    was_interrupted = 1;
    return;
  }
  remove_temporary_folders();
  std::signal(number, SIG_DFL);
  raise(number);  // when the handler has returned
}

// System calls are not taken up again after the signal: a transfer may wait in one for ever.
void take_signal() {
  static bool is_taken = false;
  if (is_taken) return;
  is_taken = true;
  struct sigaction action {};
  if (sigaction(SIGINT, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_sigaction = handle_interrupt;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGINT, &action, nullptr);
}

}  // namespace

Interruptible::Interruptible() {
  take_signal();
  interruptible = interruptible + 1;
}

Interruptible::~Interruptible() { interruptible = interruptible - 1; }

bool is_interrupted() { return was_interrupted != 0; }

void forget_interrupt() { was_interrupted = 0; }

}  // namespace uwugit::runner
