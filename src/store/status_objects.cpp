#include "store/status_objects.h"

#include <cstring>

#include "store/list_index.h"
#include "store/object_list.h"

namespace uwugit {

RepoStatus* headStatus = nullptr;
RepoStatus* workingRepoStatus = nullptr;
std::int32_t statusCount = 0;

namespace {

constexpr char kPoolName[] = "repoStatusListPool";

// What the store keeps behind each object, so that appending and reading cost the same at any
// length.
struct StoredRepoStatus : RepoStatus {
  std::size_t path_length;
  GitStatusEntry* last_entry;
  ListIndex<GitStatusEntry> index;
};

StoredRepoStatus* stored(RepoStatus* status) { return static_cast<StoredRepoStatus*>(status); }

}  // namespace

RepoStatus* createNewRepoStatusObject(std::string_view path) {
  return new_object_of<StoredRepoStatus>(path, create_pool(kPoolName));
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
  HostPool* pool = workingRepoStatus->pool;
  // Record and path share a block: a read in random order meets one place in memory, not two.
  void* block = pool->allocate(pool, sizeof(GitStatusEntry) + path.size() + 1, 0);
  auto* entry = static_cast<GitStatusEntry*>(block);
  auto* path_copy = reinterpret_cast<char*>(entry + 1);
  std::memcpy(path_copy, path.data(), path.size());
  path_copy[path.size()] = '\0';
  *entry = {path_copy, status, staged, nullptr, nullptr};
  return entry;
}

GitStatusEntry* insertGitStatusEntryAtHead(std::string_view path, const char* status,
                                           std::int32_t staged) {
  StoredRepoStatus* owner = stored(workingRepoStatus);
  owner->index.is_current = false;
  GitStatusEntry* entry = createNewGitStatusEntry(path, status, staged);
  if (!owner->entries) owner->last_entry = entry;
  return link_at_head(&owner->entries, entry);
}

GitStatusEntry* insertGitStatusEntryAtTail(std::string_view path, const char* status,
                                           std::int32_t staged) {
  StoredRepoStatus* owner = stored(workingRepoStatus);
  owner->index.is_current = false;
  GitStatusEntry* entry = createNewGitStatusEntry(path, status, staged);
  append(&owner->entries, &owner->last_entry, entry);
  return entry;
}

GitStatusEntry* status_entry(RepoStatus* status, std::int64_t number) {
  return stored(status)->index.at(number, status->entries, status->pool);
}

void prefetch_status_entry(std::int64_t number) {
  if (workingRepoStatus) stored(workingRepoStatus)->index.prefetch(number);
}

}  // namespace uwugit
