// What a module meets in a slot that this host does not provide: the end of the run with a message
// that names table and slot, never a jump into nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "run.h"
#include "uwugit/host_abi.h"

namespace uwugit::host {

inline constexpr int kMissingOperation = 70;

// `Table::kName` names the table in the message.
template <class Table, std::size_t slot>
[[noreturn]] void missing_slot() {
  end_run(kMissingOperation, "The module called slot " + std::to_string(slot) + " of a " +
                                 Table::kName + ", which this host does not provide.");
}

// A handle with `count` slots, all of them missing at first; the provided ones are set afterwards.
template <class Handle, class Table, std::size_t count>
struct FullTable : Handle {
  FullTable() : Handle{} {
    static constexpr auto functions = []<std::size_t... slot>(std::index_sequence<slot...>) {
      return std::array<HostOperation, count>{missing_slot<Table, slot>...};
    }
    (std::make_index_sequence<count>{});
    static_assert(sizeof(FullTable) == sizeof functions, "the further slots follow the handle");
    std::memcpy(static_cast<void*>(this), functions.data(), sizeof functions);
  }

  HostOperation more[count - sizeof(Handle) / sizeof(HostOperation)];
};

}  // namespace uwugit::host
