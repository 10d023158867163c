// Random access beside a linked list: the n-th record without a walk from the head.
#pragma once

#include <cstddef>
#include <cstdint>

#include "store/prefetch.h"
#include "uwugit/host_abi.h"

namespace uwugit {

// The addresses of a list's records in order, held in the pool of the list's owner. Built by the
// first read and again by the first read after a change.
template <class Record>
struct ListIndex {
  Record** records;
  std::size_t count;
  bool is_current;
  std::int64_t latest;  // the number that was last expected

  // The record with that number, counted from 1, or null.
  Record* at(std::int64_t number, Record* first, HostPool* pool) {
    if (!is_current) build(first, pool);
    if (number < 1 || static_cast<std::uint64_t>(number) > count) return nullptr;
    return records[number - 1];
  }

  // Starts fetching what this read or those to come need, for callers that have other work to do
  // before they read: in a long list, waiting for memory is most of the cost. While records are
  // read in their order, that is the record some places ahead, else the record itself.
  void expect(std::int64_t number, std::size_t bytes) {
    constexpr std::int64_t ahead = 4;
    if (number == latest || !is_current) return;
    const std::int64_t wanted = number == latest + 1 ? number + ahead : number;
    latest = number;
    if (wanted < 1 || static_cast<std::uint64_t>(wanted) > count) return;
    prefetch(records[wanted - 1], bytes);
  }

  void build(Record* first, HostPool* pool) {
    if (records) pool->free_block(pool, records);
    count = 0;
    for (Record* it = first; it; it = it->next) ++count;
    records = static_cast<Record**>(pool->allocate(pool, (count + 1) * sizeof(Record*), 0));
    std::size_t i = 0;
    for (Record* it = first; it; it = it->next) records[i++] = it;
    is_current = true;
  }
};

}  // namespace uwugit
