// Ctrl-C.
#pragma once

namespace uwugit::runner {

inline constexpr int kExitInterrupted = 130;

// While one of these lives, Ctrl-C is noted only: whoever works looks whether the work is to end,
// and waiting system calls return. The second Ctrl-C, and one at any other time, ends the process
// at once. Where the signal is ignored, as in the background, it stays ignored.
class Interruptible {
 public:
  Interruptible();
  ~Interruptible();
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;
};

// Whether Ctrl-C was noted, and forgetting it, for the shell, which goes on.
bool is_interrupted();
void forget_interrupt();

}  // namespace uwugit::runner
