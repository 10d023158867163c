#include "store/status_objects.h"

#include <cstring>

#include "module/pool.h"
#include "store/list_index.h"
#include "store/object_list.h"

namespace uwugit {

RepoStatus* headStatus = nullptr;
RepoStatus* workingRepoStatus = nullptr;
std::int32_t statusCount = 0;

namespace {

constexpr char kPoolName[] = "repoStatusListPool";
constexpr int kFreed = 0;
constexpr int kNoObject = 1;
constexpr int kPoolNotDestroyed = -2;

// What the store keeps behind each record, so that appending and reading cost the same at any
// length.
struct StoredRepoStatus : RepoStatus {
  std::size_t path_length;
  GitStatusEntry* last_entry;
  ListIndex<GitStatusEntry> index;
};

StoredRepoStatus* stored(RepoStatus* repo) { return static_cast<StoredRepoStatus*>(repo); }

}  // namespace

RepoStatus* createNewRepoStatusObject(const char* path) {
  HostPool* pool = create_pool(kPoolName);
  const std::size_t path_length = wzstlen(path);
  char* path_copy = copy_text(pool, path, path_length);
  auto* repo = static_cast<StoredRepoStatus*>(pool->allocate(pool, sizeof(StoredRepoStatus), 0));
  *repo = {};
  repo->path = path_copy;
  repo->pool = pool;
  repo->path_length = path_length;
  return repo;
}

RepoStatus* insertRepoStatusAtHead(const char* path) {
  RepoStatus* repo = createNewRepoStatusObject(path);
  link_at_head(&headStatus, repo);
  return repo;
}

RepoStatus* insertRepoStatusAtTail(const char* path) {
  RepoStatus* repo = createNewRepoStatusObject(path);
  link_at_tail(&headStatus, repo);
  return repo;
}

RepoStatus* findRepoStatusObject(const char* path) {
  for (RepoStatus* repo = headStatus; repo && repo->path; repo = repo->next) {
    if (is_same_text(repo->path, path)) return repo;
  }
  return nullptr;
}

int free_repo_status(const char* path) {
  RepoStatus* repo = findRepoStatusObject(path);
  workingRepoStatus = nullptr;  // a later read must not meet what is freed here
  if (!repo || !repo->pool) return kNoObject;
  unlink(&headStatus, repo);
  HostPool* pool = repo->pool;
  return pool->destroy(pool) == 0 ? kFreed : kPoolNotDestroyed;
}

GitStatusEntry* createNewGitStatusEntry(const char* path, const char* status, std::int32_t staged) {
  HostPool* pool = workingRepoStatus->pool;
  // Record and path share a block: a read in random order meets one place in memory, not two.
  const std::size_t size = wzstlen(path) + 1;
  void* block = pool->allocate(pool, sizeof(GitStatusEntry) + size, 0);
  auto* entry = static_cast<GitStatusEntry*>(block);
  char* path_copy = static_cast<char*>(block) + sizeof(GitStatusEntry);
  std::memcpy(path_copy, path, size);
  *entry = {path_copy, status, staged, nullptr, nullptr};
  return entry;
}

GitStatusEntry* insertGitStatusEntryAtHead(const char* path, const char* status,
                                           std::int32_t staged) {
  StoredRepoStatus* repo = stored(workingRepoStatus);
  GitStatusEntry* entry = createNewGitStatusEntry(path, status, staged);
  link_at_head(&repo->entries, entry);
  if (!repo->last_entry) repo->last_entry = entry;
  repo->index.is_current = false;
  return entry;
}

GitStatusEntry* insertGitStatusEntryAtTail(const char* path, const char* status,
                                           std::int32_t staged) {
  StoredRepoStatus* repo = stored(workingRepoStatus);
  GitStatusEntry* entry = createNewGitStatusEntry(path, status, staged);
  link_at_tail(repo->last_entry ? &repo->last_entry : &repo->entries, entry);
  repo->last_entry = entry;
  repo->index.is_current = false;
  return entry;
}

bool is_status_of(RepoStatus* repo, std::string_view path) {
  return is_same_text({repo->path, stored(repo)->path_length}, path);
}

GitStatusEntry* status_entry(RepoStatus* repo, std::int64_t number) {
  return stored(repo)->index.at(number, repo->entries, repo->pool);
}

void prefetch_status_entry(std::int64_t number) {
  if (workingRepoStatus) stored(workingRepoStatus)->index.prefetch(number);
}

}  // namespace uwugit
