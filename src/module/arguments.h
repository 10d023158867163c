// Reading the arguments of an exported function, and filling its output variables.
//
// Positions count from 0. The count in the block is consulted for optional arguments only; the host
// vouches for the others.
#pragma once

#include <string_view>

#include "uwugit/host_abi.h"

namespace uwugit {

// A character argument as the host holds it. Absent: no characters and a negative length.
struct HostText {
  const char* characters = nullptr;
  std::int32_t length = -1;

  bool is_present() const { return length >= 0; }
};

HostText text_argument(const HostArgumentBlock* arguments, int position);
HostText optional_text_argument(const HostArgumentBlock* arguments, int position);

// Truncates toward zero. What 32 bits cannot hold becomes the nearest that they can. A number that
// is none (a missing value of the host's program) becomes the lowest, which is out of every range.
std::int32_t number_argument(const HostArgumentBlock* arguments, int position);

HostString* output_argument(const HostArgumentBlock* arguments, int position);

// A NUL-terminated copy of a text in the call's pool, given back at the end of the scope. A text
// without characters becomes an empty string.
struct PoolText {
  PoolText(HostPool* from, HostText original);
  PoolText(HostPool* from, std::string_view prefix, HostText original);  // behind the prefix
  ~PoolText();
  PoolText(const PoolText&) = delete;
  PoolText& operator=(const PoolText&) = delete;

  void leave_in_pool() { text = nullptr; }  // the copy is not given back

  HostPool* pool;
  std::size_t length;
  char* text;
};

// Fills the whole variable with blanks.
void blank_fill(HostString* variable);

// Formats a NUL-terminated value into the variable; what exceeds its capacity is cut.
void write_value(HostString* variable, const char* value, std::size_t length);

// Makes the whole capacity the variable's length, so that the host sees the value and its blanks.
void take_full_capacity(HostString* variable);

}  // namespace uwugit
