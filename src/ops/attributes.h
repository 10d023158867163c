// Reading one attribute of a kept record into a character variable.
#pragma once

#include <string_view>

#include "module/arguments.h"
#include "module/upper_case.h"
#include "support/strings.h"

namespace uwugit {

// What a program can read of a record: the name that it asks by, and what writes the value into a
// variable that is blank so far. A value that has to be put together is made in the pool.
template <class Record>
struct Attribute {
  std::string_view name;
  void (*write)(const Record* record, HostPool* pool, HostString* variable);
};

// Writes a member of the record that is a text; null is no value.
template <auto text, class Record>
void write_text(const Record* record, HostPool*, HostString* variable) {
  if (const char* value = record->*text) write_value(variable, value, wzstlen(value));
}

// Fills the whole variable with the attribute of that name and blanks behind it; with blanks alone
// when no attribute has the name, which is the answer. The name is upper-cased in place, and its
// trailing blanks do not count.
template <class Record, std::size_t count>
bool read_attribute(const Attribute<Record> (&attributes)[count], const Record* record,
                    const PoolText& name, HostString* variable) {
  toUpperCase(name.text);
  const std::string_view wanted = without_trailing_blanks(name.text);
  blank_fill(variable);
  bool is_known = false;
  for (const Attribute<Record>& attribute : attributes) {
    if (attribute.name != wanted) continue;
    attribute.write(record, name.pool, variable);
    is_known = true;
    break;
  }
  take_full_capacity(variable);
  return is_known;
}

}  // namespace uwugit
