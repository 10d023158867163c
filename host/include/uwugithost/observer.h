// Calls of functions while they last: for hosts that show how far a call is, or end it.
#pragma once

#include <stdexcept>
#include <string>

#include "uwugit/progress.h"

namespace uwugit::host {

struct Function;

// What is done and counted at a stage, as in "receiving objects"; empty where it is not known.
const char* describe(WorkStage stage);

// A call was ended by its observer.
struct Interrupted : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Sees the calls that call_function makes, in the thread that makes them.
class CallObserver {
 public:
  virtual ~CallObserver() = default;
  virtual void begin(const Function& function) noexcept = 0;
  // Tells how far the call is, with the companion and where it takes long. The answer false ends
  // the call where `progress.can_end`: a call that writes in a repository is finished.
  virtual bool go_on(const WorkProgress& progress) noexcept = 0;
  // The function has returned. False when it was ended: call_function then throws Interrupted.
  virtual bool end() noexcept = 0;
};

}  // namespace uwugit::host
