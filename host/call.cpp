#include "uwugithost/call.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "in_the_way.h"

namespace uwugit::host {
namespace {

// Most values fit; a longer one is asked for again with the room it needs.
constexpr std::size_t kFirstCapacity = 1024;

constexpr char kMustBeNumber[] = "must be a number";

[[noreturn]] void refuse(const Function& function, std::size_t position, const Parameter& parameter,
                         const char* why) {
  throw UsageError(function, "argument " + std::to_string(position + 1) + " (" +
                                 std::string(parameter.name) + ") " + why);
}

// The parameters that callers give, and how the last ones repeat.
struct GivenParameters {
  explicit GivenParameters(const Function& function) {
    for (const Parameter& parameter : function.parameters) {
      if (parameter.kind == Kind::kOutput) continue;
      list.push_back(&parameter);
      required += parameter.is_optional ? 0u : 1u;
      repeated += parameter.is_repeated ? 1u : 0u;
    }
  }

  // The parameter for the argument at that position; null when there are too many.
  const Parameter* at(std::size_t position) const {
    if (position < list.size()) return list[position];
    if (repeated == 0) return nullptr;
    const std::size_t first = list.size() - repeated;
    return list[first + (position - first) % repeated];
  }

  std::vector<const Parameter*> list;
  std::size_t required = 0;
  std::size_t repeated = 0;
};

void check_count(const Function& function, const GivenParameters& given, std::size_t count) {
  if (count < given.required) {
    refuse(function, count, *given.list[count], "is missing");
  }
  if (count > 0 && !given.at(count - 1)) {
    throw UsageError(function, "too many arguments: " + std::to_string(count) + " were given");
  }
}

void check_value(const Function& function, const Parameter& parameter, std::size_t position,
                 const Value& value) {
  const auto* text = std::get_if<std::string>(&value);
  if ((parameter.kind == Kind::kText) != (text != nullptr)) {
    refuse(function, position, parameter,
           parameter.kind == Kind::kText ? "must be a text" : kMustBeNumber);
  }
  if (!text) return;
  if (text->find('\0') != std::string::npos) {
    refuse(function, position, parameter, "contains a NUL byte");
  }
  if (text->size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    refuse(function, position, parameter, "is too long");
  }
}

Value value_from_word(const Function& function, std::size_t position, const Parameter& parameter,
                      const std::string& word) {
  if (parameter.kind == Kind::kText) return word;
  double number = 0;
  const char* end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, number);
  if (error != std::errc() || stop != end) refuse(function, position, parameter, kMustBeNumber);
  return number;
}

struct OutputPlace {
  std::string_view name;
  std::size_t position;  // among the arguments
};

struct ArrangedCall {
  Arguments arguments;
  std::vector<OutputPlace> outputs;
};

void add(Arguments& arguments, const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    arguments.text(*text);
  } else {
    arguments.number(std::get<double>(value));
  }
}

// The values in their order, with the output variables between them where the function has them.
// Values beyond the parameters are those of repeated ones.
ArrangedCall arrange(const Function& function, std::span<const Value> values,
                     std::size_t capacity) {
  ArrangedCall call;
  auto next = values.begin();
  for (const Parameter& parameter : function.parameters) {
    if (parameter.kind == Kind::kOutput) {
      call.outputs.push_back({parameter.name, call.arguments.count()});
      call.arguments.output(std::max(capacity, parameter.capacity));
    } else if (next != values.end()) {
      add(call.arguments, *next++);
    }
  }
  while (next != values.end()) add(call.arguments, *next++);
  return call;
}

struct Answer {
  CallResult result;
  std::vector<OutputValue> outputs;
  std::size_t wanted = 0;  // the length of an output that did not fit; 0 when all did
};

// Calls the function with output variables of that capacity at least. A variable that the function
// has not formatted a value into counts as empty.
Answer call_once(Host& host, HostFunction* implementation, const Function& function,
                 std::span<const Value> values, std::size_t capacity) {
  ArrangedCall call = arrange(function, values, capacity);
  Answer answer;
  answer.result = host.call(implementation, call.arguments.block());
  const Formatted formatted = host.last_formatted();
  for (const auto& [name, position] : call.outputs) {
    OutputValue& output = answer.outputs.emplace_back(OutputValue{name, {}});
    const HostString& variable = call.arguments.string(position);
    if (formatted.characters != variable.characters) continue;
    if (formatted.length > static_cast<std::size_t>(variable.capacity)) {
      answer.wanted = formatted.length;
    }
    output.text = call.arguments.output_text(position).substr(0, formatted.length);
  }
  return answer;
}

// Calls the function, again where an output did not fit.
Answer call_whole(Host& host, HostFunction* implementation, const Function& function,
                  std::span<const Value> values) {
  Answer answer = call_once(host, implementation, function, values, kFirstCapacity);
  if (answer.wanted == 0) return answer;
  return call_once(host, implementation, function, values, answer.wanted);
}

// The same, before the eyes of the host's observer.
Answer call_observed(Host& host, HostFunction* implementation, const Function& function,
                     std::span<const Value> values) {
  CallObserver* const observer = host.observer();
  if (!observer) return call_whole(host, implementation, function, values);
  observer->begin(function);
  Answer answer;
  try {
    answer = call_whole(host, implementation, function, values);
  } catch (...) {
    observer->end();
    throw;
  }
  if (!observer->end()) throw Interrupted(std::string(function.name) + " was interrupted");
  return answer;
}

}  // namespace

UsageError::UsageError(const Function& function, const std::string& why)
    : std::runtime_error(std::string(function.name) + ": " + why + "\nusage: " + usage(function)) {}

std::string Outcome::code_text() const {
  if (result.is_unchanged) return "unchanged";
  char text[40];
  char* const end = std::to_chars(text, text + sizeof text, result.code).ptr;
  return std::string(text, end);
}

Outcome call_function(Host& host, const FunctionModule& module, const Function& function,
                      std::span<const Value> values) {
  const GivenParameters given(function);
  check_count(function, given, values.size());
  for (std::size_t i = 0; i < values.size(); ++i) check_value(function, *given.at(i), i, values[i]);
  HostFunction* implementation = module.find(std::string(function.name));
  if (!implementation) {
    throw std::runtime_error("The module " + module.file().string() + " has no function " +
                             std::string(function.name) + ".");
  }
  const std::size_t errors_before = host.log().errors();
  const InTheWay in_the_way(host.log(), function, values);
  Answer answer = call_observed(host, implementation, function, values);
  const ResultRow* row = find_result(function, answer.result);
  const bool has_errors = host.log().errors() > errors_before;
  const bool is_success = row && row->is_success && !(row->is_told_by_log && has_errors);
  in_the_way.tell_after(is_success);
  return {answer.result, is_success, std::move(answer.outputs)};
}

std::vector<Value> values_from_words(const Function& function, std::span<const std::string> words) {
  const GivenParameters given(function);
  check_count(function, given, words.size());
  std::vector<Value> values;
  for (std::size_t i = 0; i < words.size(); ++i) {
    values.push_back(value_from_word(function, i, *given.at(i), words[i]));
  }
  return values;
}

}  // namespace uwugit::host
