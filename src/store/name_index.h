// A linked list's records by name: found without a walk.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string_view>

#include "support/strings.h"
#include "uwugit/host_abi.h"

namespace uwugit {

// A hash table of the records' addresses with at most half of its slots in use, held in the pool of
// the list's owner. Before each search it takes in the records that were appended since the one
// before. All zero: nothing was searched for yet.
template <class Record>
struct NameIndex {
  Record** slots;        // a name's record stands in the slot of its hash or behind it
  std::size_t capacity;  // a power of two
  std::size_t count;
  Record* latest;  // the last of the list that was taken in

  // The first record with that name, trailing blanks insignificant, or null. A record without a
  // name ends the list.
  Record* find(std::string_view name, Record* first, HostPool* pool) {
    Record* next = latest ? latest->next : first;
    for (; next && next->name; next = next->next) take_in(next, pool);
    return capacity == 0 ? nullptr : *slot_of(name);
  }

  void take_in(Record* record, HostPool* pool) {
    latest = record;
    if (2 * (count + 1) > capacity) grow(pool);
    Record** slot = slot_of(record->name);
    if (*slot) return;  // of two with one name the first is found
    *slot = record;
    ++count;
  }

  // The slot that holds the name's record, or the free one where it would stand.
  Record** slot_of(std::string_view name) const {
    std::size_t at = std::hash<std::string_view>()(without_trailing_blanks(name));
    while (slots[at % capacity] && !is_same_text(slots[at % capacity]->name, name)) ++at;
    return &slots[at % capacity];
  }

  void grow(HostPool* pool) {
    const NameIndex old = *this;
    capacity = std::max<std::size_t>(2 * old.capacity, 64);
    slots = static_cast<Record**>(pool->allocate(pool, capacity * sizeof(Record*), 0));
    std::fill_n(slots, capacity, nullptr);
    for (std::size_t i = 0; i < old.capacity; ++i) {
      if (old.slots[i]) *slot_of(old.slots[i]->name) = old.slots[i];
    }
    if (old.slots) pool->free_block(pool, old.slots);
  }
};

}  // namespace uwugit
