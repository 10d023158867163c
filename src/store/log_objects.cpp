#include "store/log_objects.h"

#include "module/pool.h"
#include "store/list_index.h"
#include "store/object_list.h"

namespace uwugit {

RepoLog* headLogObject = nullptr;
RepoLog* workingRepoLogObject = nullptr;

namespace {

constexpr int kFreed = 0;
constexpr int kPoolNotDestroyed = 1;

// What the store keeps behind each record, so that reading costs the same at any length.
struct StoredRepoLog : RepoLog {
  std::size_t path_length;
  ListIndex<CommitGraphNode> index;
};

StoredRepoLog* stored(RepoLog* log) { return static_cast<StoredRepoLog*>(log); }

}  // namespace

RepoLog* createNewRepoLogObject(HostPool* pool, const char* path) {
  const std::size_t path_length = wzstlen(path);
  char* path_copy = copy_text(pool, path, path_length);
  auto* log = static_cast<StoredRepoLog*>(pool->allocate(pool, sizeof(StoredRepoLog), 0));
  *log = {};
  log->path = path_copy;
  log->pool = pool;
  log->path_length = path_length;
  return log;
}

RepoLog* insertRepoLogAtHead(HostPool* pool, const char* path) {
  RepoLog* log = createNewRepoLogObject(pool, path);
  link_at_head(&headLogObject, log);
  return log;
}

RepoLog* insertRepoLogAtTail(HostPool* pool, const char* path) {
  RepoLog* log = createNewRepoLogObject(pool, path);
  link_at_tail(&headLogObject, log);
  return log;
}

RepoLog* findRepoLogObject(const char* path) {
  for (RepoLog* log = headLogObject; log && log->path; log = log->next) {
    if (is_same_text(log->path, path)) return log;
  }
  return nullptr;
}

int free_repo_log(const char* path) {
  RepoLog* log = findRepoLogObject(path);
  workingRepoLogObject = nullptr;  // a later read must not meet what is freed here
  if (!log || !log->pool) return kFreed;
  unlink(&headLogObject, log);
  HostPool* pool = log->pool;
  return pool->destroy(pool) == 0 ? kFreed : kPoolNotDestroyed;
}

// `first` and `last` keep their values where one would expect them to move: that is what a node
// at the head is defined as.
void insertCommitGraphNodeAtHead(CommitGraphNode* node) {
  RepoLog* log = workingRepoLogObject;
  if (log->first) {
    log->first->prev = node;
    node->next = log->first;
  } else {
    log->first = node;
  }
  stored(log)->index.is_current = false;
}

void insertCommitGraphNodeAtTail(CommitGraphNode* node) {
  RepoLog* log = workingRepoLogObject;
  if (log->last) {
    link_at_tail(&log->last, node);
    log->last = node;
  } else if (log->first) {
    link_at_tail(&log->first, node);  // `last` stays unset: the first node came in at the head
  } else {
    log->first = log->last = node;
    node->next = node->prev = nullptr;
  }
  stored(log)->index.is_current = false;
}

CommitGraphNode* findCommitGraphNode(const char* id) {
  for (CommitGraphNode* node = workingRepoLogObject->first; node && node->id; node = node->next) {
    if (is_same_text(node->id, id)) return node;
  }
  return nullptr;
}

bool is_log_of(RepoLog* log, std::string_view path) {
  return is_same_text({log->path, stored(log)->path_length}, path);
}

CommitGraphNode* log_entry(RepoLog* log, std::int64_t number) {
  return stored(log)->index.at(number, log->first, log->pool);
}

void prefetch_log_entry(std::int64_t number) {
  constexpr std::size_t node_and_texts = 512;
  if (workingRepoLogObject) stored(workingRepoLogObject)->index.prefetch(number, node_and_texts);
}

}  // namespace uwugit
