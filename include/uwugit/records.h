// The result records that stay in the module between calls. A record and all it points to live in
// the pool of the object that owns it, and end with that pool.
#pragma once

#include "uwugit/host_abi.h"

namespace uwugit {

// One changed file of a working tree.
struct GitStatusEntry {
  char* path;           // relative to the working tree, NUL-terminated
  const char* status;   // a constant word: "new", "modified", "deleted", ...
  std::int32_t staged;  // kStaged or kNotStaged
  GitStatusEntry* next;
  GitStatusEntry* prev;
};
static_assert(offsetof(GitStatusEntry, status) == 8);
static_assert(offsetof(GitStatusEntry, staged) == 16);
static_assert(offsetof(GitStatusEntry, next) == 24);
static_assert(offsetof(GitStatusEntry, prev) == 32);
inline constexpr std::int32_t kStaged = 0;
inline constexpr std::int32_t kNotStaged = -1;

// The status of one repository.
struct RepoStatus {
  char* path;  // of the repository, as the caller wrote it
  HostPool* pool;
  GitStatusEntry* entries;
  RepoStatus* next;
  RepoStatus* prev;
};
static_assert(offsetof(RepoStatus, pool) == 8);
static_assert(offsetof(RepoStatus, entries) == 16);
static_assert(offsetof(RepoStatus, next) == 24);
static_assert(offsetof(RepoStatus, prev) == 32);

}  // namespace uwugit
