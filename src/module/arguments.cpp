#include "module/arguments.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "module/pool.h"
#include "module/vector_stubs.h"
#include "support/strings.h"

namespace uwugit {
namespace {

template <class T>
T* argument(const HostArgumentBlock* arguments, int position) {
  return static_cast<T*>(arguments->slots()[position].value);
}

}  // namespace

HostText text_argument(const HostArgumentBlock* arguments, int position) {
  const auto* string = argument<const HostString>(arguments, position);
  if (!string) return {};
  const auto length = static_cast<std::int32_t>(string->length);  // the low half is what counts
  if (length < 0) return {};
  return {string->characters, length};
}

HostText optional_text_argument(const HostArgumentBlock* arguments, int position) {
  return arguments->count > position ? text_argument(arguments, position) : HostText{};
}

std::int32_t number_argument(const HostArgumentBlock* arguments, int position) {
  constexpr double lowest = std::numeric_limits<std::int32_t>::min();
  constexpr double highest = std::numeric_limits<std::int32_t>::max();
  const double number = *argument<const double>(arguments, position);
  if (std::isnan(number) || number <= lowest) return std::numeric_limits<std::int32_t>::min();
  if (number >= highest) return std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(number);
}

HostString* output_argument(const HostArgumentBlock* arguments, int position) {
  return argument<HostString>(arguments, position);
}

PoolText::PoolText(HostPool* from, HostText original) : PoolText(from, "", original) {}

PoolText::PoolText(HostPool* from, std::string_view prefix, HostText original) : pool(from) {
  const auto rest = original.is_present() ? static_cast<std::size_t>(original.length) : 0;
  length = prefix.size() + rest;
  text = static_cast<char*>(pool->allocate(pool, length + 1, 0));
  if (!prefix.empty()) std::memcpy(text, prefix.data(), prefix.size());
  if (rest > 0) std::memcpy(text + prefix.size(), original.characters, rest);
  text[length] = '\0';
}

PoolText::~PoolText() {
  if (text) pool->free_block(pool, text);
}

void blank_fill(HostString* variable) {
  if (variable->capacity > 0) {
    std::memset(variable->characters, ' ', static_cast<std::size_t>(variable->capacity));
  }
}

void write_value(HostString* variable, const char* value, std::size_t length) {
  xpsstr(variable->characters, variable->capacity, "%*s", static_cast<int>(length), value);
}

void take_full_capacity(HostString* variable) { variable->length = variable->capacity; }

}  // namespace uwugit
