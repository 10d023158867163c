#include "store/status_objects.h"

#include <cstring>

#include "store/object_list.h"
#include "store/packed_memory.h"
#include "store/prefetch.h"

namespace uwugit {

RepoStatus* headStatus = nullptr;
RepoStatus* workingRepoStatus = nullptr;
std::int32_t statusCount = 0;

namespace {

constexpr char kPoolName[] = "repoStatusListPool";
constexpr std::size_t kUsualPath = 64;  // bytes that most paths keep within

// What programs read of the entries, in their order, an array for each attribute. In a long status
// the records do not fit the processor's cache, but one of these arrays and the paths do, so that
// reading in random order seldom waits for memory. Built by the first read and again by the first
// read after a change.
struct StatusColumns {
  const char** paths;
  const char** words;
  std::int32_t* staged;
  std::size_t count;
  bool is_current;
};

// What the store keeps behind each object, so that appending and reading cost the same at any
// length.
struct StoredRepoStatus : RepoStatus {
  std::size_t path_length;
  GitStatusEntry* last_entry;
  PackedMemory records;
  PackedMemory paths;  // of the entries, apart from the records, which reading does not need
  StatusColumns columns;
};

StoredRepoStatus* stored(RepoStatus* status) { return static_cast<StoredRepoStatus*>(status); }

void build(StatusColumns& columns, const GitStatusEntry* first, HostPool* pool) {
  if (columns.paths) pool->free_block(pool, columns.paths);
  std::size_t count = 0;
  for (const GitStatusEntry* it = first; it; it = it->next) ++count;
  const std::size_t row = sizeof *columns.paths + sizeof *columns.words + sizeof *columns.staged;
  columns.paths = static_cast<const char**>(pool->allocate(pool, (count + 1) * row, 0));
  columns.words = columns.paths + count;
  columns.staged = reinterpret_cast<std::int32_t*>(columns.words + count);
  columns.count = 0;
  for (const GitStatusEntry* it = first; it; it = it->next) {
    columns.paths[columns.count] = it->path;
    columns.words[columns.count] = it->status;
    columns.staged[columns.count++] = it->staged;
  }
  columns.is_current = true;
}

std::optional<StatusPlace> place_in(const StatusColumns& columns, std::int64_t number) {
  if (number < 1 || static_cast<std::uint64_t>(number) > columns.count) return std::nullopt;
  return StatusPlace{columns.paths + number - 1, columns.words + number - 1,
                     columns.staged + number - 1};
}

}  // namespace

RepoStatus* createNewRepoStatusObject(std::string_view path) {
  HostPool* pool = create_pool(kPoolName);
  auto* status = new_object_of<StoredRepoStatus>(path, pool);
  status->records = {.pool = pool};
  status->paths = {.pool = pool, .alignment = 1};
  return status;
}

RepoStatus* insertRepoStatusAtHead(std::string_view path) {
  return link_at_head(&headStatus, createNewRepoStatusObject(path));
}

RepoStatus* insertRepoStatusAtTail(std::string_view path) {
  return link_at_tail(&headStatus, createNewRepoStatusObject(path));
}

RepoStatus* findRepoStatusObject(std::string_view path) {
  return find_by<&RepoStatus::path>(path, headStatus);
}

RepoStatus* select_status(const PoolText& path) {
  return select_by_path<StoredRepoStatus>(&workingRepoStatus, headStatus, path);
}

int free_repo_status(std::string_view path) {
  return free_object(&headStatus, &workingRepoStatus, findRepoStatusObject(path),
                     {.not_found = 1, .pool_not_destroyed = -2});
}

GitStatusEntry* createNewGitStatusEntry(std::string_view path, const char* status,
                                        std::int32_t staged) {
  StoredRepoStatus* owner = stored(workingRepoStatus);
  auto* entry = static_cast<GitStatusEntry*>(owner->records.take(sizeof(GitStatusEntry)));
  auto* path_copy = static_cast<char*>(owner->paths.take(path.size() + 1));
  std::memcpy(path_copy, path.data(), path.size());
  path_copy[path.size()] = '\0';
  *entry = {path_copy, status, staged, nullptr, nullptr};
  return entry;
}

GitStatusEntry* insertGitStatusEntryAtHead(std::string_view path, const char* status,
                                           std::int32_t staged) {
  StoredRepoStatus* owner = stored(workingRepoStatus);
  owner->columns.is_current = false;
  GitStatusEntry* entry = createNewGitStatusEntry(path, status, staged);
  if (!owner->entries) owner->last_entry = entry;
  return link_at_head(&owner->entries, entry);
}

GitStatusEntry* insertGitStatusEntryAtTail(std::string_view path, const char* status,
                                           std::int32_t staged) {
  StoredRepoStatus* owner = stored(workingRepoStatus);
  owner->columns.is_current = false;
  GitStatusEntry* entry = createNewGitStatusEntry(path, status, staged);
  append(&owner->entries, &owner->last_entry, entry);
  return entry;
}

std::optional<StatusPlace> status_entry(RepoStatus* status, std::int64_t number) {
  StatusColumns& columns = stored(status)->columns;
  if (!columns.is_current) build(columns, status->entries, status->pool);
  return place_in(columns, number);
}

void prefetch_status_path(std::int64_t number) {
  if (!workingRepoStatus || !stored(workingRepoStatus)->columns.is_current) return;
  if (const auto place = place_in(stored(workingRepoStatus)->columns, number)) {
    prefetch(*place->path, kUsualPath);
  }
}

}  // namespace uwugit
