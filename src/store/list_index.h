// Random access beside a linked list: the n-th record without a walk from the head.
#pragma once

#include <cstddef>
#include <cstdint>

#include "uwugit/host_abi.h"

namespace uwugit {

// The addresses of a list's records in order, held in the pool of the list's owner. Built by the
// first read and again by the first read after a change.
template <class Record>
struct ListIndex {
  Record** records;
  std::size_t count;
  bool is_current;

  // The record with that number, counted from 1, or null.
  Record* at(std::int64_t number, Record* first, HostPool* pool) {
    if (!is_current) build(first, pool);
    if (number < 1 || static_cast<std::uint64_t>(number) > count) return nullptr;
    return records[number - 1];
  }

  // Starts fetching that record and what lies behind it into the processor's cache, for callers
  // that have other work to do before they read it: in a long list read in random order, waiting
  // for memory is most of the cost.
  void prefetch(std::int64_t number, std::size_t bytes = 128) const {
    if (!is_current || number < 1 || static_cast<std::uint64_t>(number) > count) return;
    constexpr std::size_t cache_line = 64;
    const char* record = reinterpret_cast<const char*>(records[number - 1]);
    for (std::size_t at = 0; at < bytes; at += cache_line) __builtin_prefetch(record + at);
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
