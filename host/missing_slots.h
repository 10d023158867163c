// What lies in the slots that this host does not provide: functions that end the run with a message
// that names table and slot.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "run.h"
#include "uwugit/host_abi.h"

namespace uwugit::host {

// A text as a template argument.
template <std::size_t size>
struct TableName {
  constexpr TableName(const char (&literal)[size]) { std::copy_n(literal, size, text); }
  char text[size] = {};
};

template <TableName name, std::size_t slot>
[[noreturn]] void missing_slot() {
  end_run_missing_operation("slot " + std::to_string(slot) + " of a " + name.text);
}

// A handle with `count` slots, all of them missing at first; the provided ones are set afterwards.
// Messages call it by its name.
template <class Handle, TableName name, std::size_t count>
struct FullTable : Handle {
  FullTable() : Handle{} {
    static constexpr auto functions = []<std::size_t... slot>(std::index_sequence<slot...>) {
      return std::array<HostOperation, count>{missing_slot<name, slot>...};
    }
    (std::make_index_sequence<count>{});
    static_assert(sizeof(FullTable) == sizeof functions, "the further slots follow the handle");
    std::memcpy(static_cast<void*>(this), functions.data(), sizeof functions);
  }

  HostOperation more[count - sizeof(Handle) / sizeof(HostOperation)];
};

}  // namespace uwugit::host
