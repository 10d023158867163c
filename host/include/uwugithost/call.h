// Calling a catalogue function with plain values: checks them, builds the argument block, and gives
// output variables back whole.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "uwugithost/arguments.h"
#include "uwugithost/catalogue.h"

namespace uwugit::host {

using Value = std::variant<double, std::string>;

// The caller asked for something that cannot be.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
  // Arguments that do not fit a function. The message ends with its usage line.
  UsageError(const Function& function, const std::string& why);
};

struct OutputValue {
  std::string_view name;
  std::string text;
};

struct Outcome {
  CallResult result;
  bool is_success = false;
  std::vector<OutputValue> outputs;

  // The return code as it is shown: "unchanged" when the function left it alone.
  std::string code_text() const;
};

// Calls the function with its arguments but the output variables. Throws UsageError when an
// argument is missing, too many, of the wrong kind or not usable; std::runtime_error when the
// module lacks the function; Interrupted when the host's observer has ended the call.
Outcome call_function(Host& host, const FunctionModule& module, const Function& function,
                      std::span<const Value> values);

// Turns the words of a command line into values of the function's kinds. Throws UsageError.
std::vector<Value> values_from_words(const Function& function, std::span<const std::string> words);

}  // namespace uwugit::host
