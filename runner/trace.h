// --trace: each libgit2 function as it is looked up, with the time until the next one.
#pragma once

#include <chrono>
#include <string>

#include "uwugithost/host.h"

namespace uwugit::runner {

class Trace {
 public:
  Trace(host::Host& host, bool is_on);

  void begin(std::string_view function);  // a call starts
  void end();                             // and ends

 private:
  using Clock = std::chrono::steady_clock;

  void report_previous(Clock::time_point now);

  bool is_on_;
  bool is_in_call_ = false;
  std::string previous_;
  bool is_previous_found_ = true;
  Clock::time_point since_;
};

}  // namespace uwugit::runner
