// Telling the processor early what memory will be read.
#pragma once

#include <cstddef>

namespace uwugit {

// Starts fetching those bytes, and what shares a cache line with them, into the processor's cache.
inline void prefetch(const void* memory, std::size_t bytes) {
  constexpr std::size_t cache_line = 64;
  const char* const first = static_cast<const char*>(memory);
  for (std::size_t at = 0; at < bytes; at += cache_line) __builtin_prefetch(first + at);
  __builtin_prefetch(first + bytes - 1);
}

}  // namespace uwugit
