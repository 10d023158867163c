#include "interrupt.h"

#include <csignal>

#include "temporary_folders.h"

namespace uwugit::runner {
namespace {

volatile std::sig_atomic_t interruptible = 0;  // how many there are
volatile std::sig_atomic_t was_interrupted = 0;

void handle_interrupt(int number) {
  if (interruptible != 0 && !was_interrupted) {
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
  action.sa_handler = handle_interrupt;
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
