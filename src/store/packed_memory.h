// Memory of a pool for many small records that live and end together: taken from blocks of growing
// size, so that a record costs its own bytes and no header.
#pragma once

#include <algorithm>
#include <cstddef>

#include "uwugit/host_abi.h"

namespace uwugit {

struct PackedMemory {
  HostPool* pool;
  char* next = nullptr;
  std::size_t room = 0;
  std::size_t block = 1u << 10;            // size of the next block
  std::size_t alignment = alignof(void*);  // 1 for texts

  static constexpr std::size_t kLargestBlock = 64u << 10;
  static constexpr std::size_t kLargestRecord = kLargestBlock / 8;  // the rest get their own block

  // Uninitialised, never null, released with the pool only.
  void* take(std::size_t bytes) {
    const std::size_t whole = (bytes + alignment - 1) & ~(alignment - 1);
    if (whole > room) {
      if (whole > kLargestRecord) return pool->allocate(pool, whole, 0);
      room = std::max(block, whole);
      next = static_cast<char*>(pool->allocate(pool, room, 0));
      block = std::min(block * 2, kLargestBlock);
    }
    char* taken = next;
    next += whole;
    room -= whole;
    return taken;
  }
};

}  // namespace uwugit
