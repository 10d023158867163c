// Calling a catalogue function with plain values: checks them, builds the argument block, and gives
// output variables back whole.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "uwugithost/catalogue.h"

namespace uwugit::host {

using Value = std::variant<double, std::string>;

// Arguments that do not fit the function. The message ends with the usage line.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
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
// module lacks the function.
Outcome call_function(Host& host, const FunctionModule& module, const Function& function,
                      std::span<const Value> values);

// Turns the words of a command line into values of the function's kinds. Throws UsageError.
std::vector<Value> values_from_words(const Function& function, std::span<const std::string> words);

// An argument block and what it points to, for callers that know the convention.
class Arguments {
 public:
  Arguments& text(std::string_view value);
  Arguments& number(double value);
  Arguments& output(std::size_t capacity);

  const HostArgumentBlock* block();
  HostString& string(std::size_t position) { return items_[position]->string; }
  double& number_at(std::size_t position) { return items_[position]->number; }
  // What the output variable at that position holds: its characters up to its length.
  std::string_view output_text(std::size_t position) const;

 private:
  struct Item {
    std::string characters;
    HostString string{};
    double number = 0;
    bool is_number = false;
  };
  std::vector<std::unique_ptr<Item>> items_;
  std::vector<std::uint64_t> block_;
};

}  // namespace uwugit::host
