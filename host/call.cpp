#include "uwugithost/call.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace uwugit::host {
namespace {

// Most values fit; a longer one is asked for again with the room it needs.
constexpr std::size_t kFirstCapacity = 1024;

[[noreturn]] void refuse(const Function& function, const std::string& why) {
  throw UsageError(std::string(function.name) + ": " + why + "\nusage: " + usage(function));
}

std::string argument_name(std::size_t position, const Parameter& parameter) {
  return "argument " + std::to_string(position + 1) + " (" + std::string(parameter.name) + ")";
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
    refuse(function, argument_name(count, *given.list[count]) + " is missing");
  }
  if (count > 0 && !given.at(count - 1)) {
    refuse(function, "too many arguments: " + std::to_string(count) + " were given");
  }
}

void check_value(const Function& function, const Parameter& parameter, std::size_t position,
                 const Value& value) {
  const auto* text = std::get_if<std::string>(&value);
  if ((parameter.kind == Kind::kText) != (text != nullptr)) {
    refuse(function, argument_name(position, parameter) + " must be a " +
                         (parameter.kind == Kind::kText ? "text" : "number"));
  }
  if (!text) return;
  if (text->find('\0') != std::string::npos) {
    refuse(function, argument_name(position, parameter) + " contains a NUL byte");
  }
  if (text->size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    refuse(function, argument_name(position, parameter) + " is too long");
  }
}

struct Attempt {
  CallResult result;
  std::vector<OutputValue> outputs;
  std::size_t wanted = 0;  // the longest output that did not fit; 0 when all did
};

Attempt attempt(Host& host, HostFunction* implementation, const Function& function,
                std::span<const Value> values, std::size_t capacity) {
  Arguments arguments;
  std::size_t next = 0;
  std::vector<std::size_t> output_positions;
  std::size_t position = 0;
  const auto add_value = [&] {
    const Value& value = values[next++];
    if (const auto* text = std::get_if<std::string>(&value)) {
      arguments.text(*text);
    } else {
      arguments.number(std::get<double>(value));
    }
    ++position;
  };
  for (const Parameter& parameter : function.parameters) {
    if (parameter.kind == Kind::kOutput) {
      output_positions.push_back(position++);
      arguments.output(std::max(capacity, parameter.capacity));
    } else if (next < values.size()) {
      add_value();
    }
  }
  while (next < values.size()) add_value();

  Attempt made;
  made.result = host.call(implementation, arguments.block());
  const Formatted formatted = host.last_formatted();
  std::size_t parameter_number = 0;
  for (const Parameter& parameter : function.parameters) {
    if (parameter.kind != Kind::kOutput) continue;
    const std::size_t at = output_positions[parameter_number++];
    OutputValue output{parameter.name, {}};
    const HostString& string = arguments.string(at);
    if (formatted.characters == string.characters) {
      if (formatted.length > static_cast<std::size_t>(string.capacity)) {
        made.wanted = formatted.length;
      }
      output.text = arguments.output_text(at).substr(0, formatted.length);
    }
    made.outputs.push_back(std::move(output));
  }
  return made;
}

}  // namespace

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
  Attempt made = attempt(host, implementation, function, values, kFirstCapacity);
  if (made.wanted > 0) made = attempt(host, implementation, function, values, made.wanted);
  const ResultRow* row = find_result(function, made.result);
  return {made.result, row && row->is_success, std::move(made.outputs)};
}

std::vector<Value> values_from_words(const Function& function, std::span<const std::string> words) {
  const GivenParameters given(function);
  check_count(function, given, words.size());
  std::vector<Value> values;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const Parameter& parameter = *given.at(i);
    const std::string& word = words[i];
    if (parameter.kind == Kind::kText) {
      values.emplace_back(word);
      continue;
    }
    double number = 0;
    const char* end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc() || stop != end) {
      refuse(function, argument_name(i, parameter) + " must be a number");
    }
    values.emplace_back(number);
  }
  return values;
}

Arguments& Arguments::text(std::string_view value) {
  auto item = std::make_unique<Item>();
  item->characters = value;
  item->string = {static_cast<std::int32_t>(value.size()), 0,
                  static_cast<std::int64_t>(value.size()), item->characters.data()};
  items_.push_back(std::move(item));
  return *this;
}

Arguments& Arguments::number(double value) {
  auto item = std::make_unique<Item>();
  item->number = value;
  item->is_number = true;
  items_.push_back(std::move(item));
  return *this;
}

Arguments& Arguments::output(std::size_t capacity) {
  auto item = std::make_unique<Item>();
  item->characters.assign(capacity, '\0');
  item->string = {static_cast<std::int32_t>(capacity), 0, 0, item->characters.data()};
  items_.push_back(std::move(item));
  return *this;
}

const HostArgumentBlock* Arguments::block() {
  constexpr std::size_t head = sizeof(HostArgumentBlock) / sizeof(std::uint64_t);
  constexpr std::size_t slot = sizeof(HostArgumentSlot) / sizeof(std::uint64_t);
  block_.assign(head + items_.size() * slot, 0);
  auto* const block = reinterpret_cast<HostArgumentBlock*>(block_.data());
  block->count = static_cast<std::int64_t>(items_.size());
  auto* const slots = reinterpret_cast<HostArgumentSlot*>(block + 1);
  for (std::size_t i = 0; i < items_.size(); ++i) {
    Item& item = *items_[i];
    slots[i].value = item.is_number ? static_cast<void*>(&item.number) : &item.string;
  }
  return block;
}

std::string_view Arguments::output_text(std::size_t position) const {
  const HostString& string = items_[position]->string;
  return {string.characters, static_cast<std::size_t>(std::max<std::int64_t>(string.length, 0))};
}

}  // namespace uwugit::host
