#include "trace.h"

#include <cstdio>

namespace uwugit::runner {

Trace::Trace(host::Host& host, bool is_on) : is_on_(is_on) {
  if (!is_on_) return;
  host.modules().set_lookup_hook([this](std::string_view name, void* found) {
    if (!is_in_call_) return found;  // what the command looks up for itself
    report_previous(Clock::now());
    previous_ = name;
    is_previous_found_ = found != nullptr;
    since_ = Clock::now();
    return found;
  });
}

void Trace::begin(std::string_view function) {
  if (!is_on_) return;
  is_in_call_ = true;
  std::fflush(stdout);  // so that what the program wrote before stands before it
  std::fprintf(stderr, "TRACE: %.*s\n", static_cast<int>(function.size()), function.data());
}

void Trace::end() {
  if (!is_on_) return;
  report_previous(Clock::now());
  is_in_call_ = false;
}

void Trace::report_previous(Clock::time_point now) {
  if (previous_.empty()) return;
  const std::chrono::duration<double, std::micro> spent = now - since_;
  std::fprintf(stderr, "TRACE:   %-36s %10.1f µs%s\n", previous_.c_str(), spent.count(),
               is_previous_found_ ? "" : "  (not found)");
  previous_.clear();
}

}  // namespace uwugit::runner
