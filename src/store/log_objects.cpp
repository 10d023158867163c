#include "store/log_objects.h"

#include "store/list_index.h"
#include "store/object_list.h"

namespace uwugit {

RepoLog* headLogObject = nullptr;
RepoLog* workingRepoLogObject = nullptr;

namespace {

// What the store keeps behind each object, so that reading costs the same at any length.
struct StoredRepoLog : RepoLog {
  std::size_t path_length;
  ListIndex<CommitGraphNode> index;
};

StoredRepoLog* stored(RepoLog* history) { return static_cast<StoredRepoLog*>(history); }

}  // namespace

RepoLog* createNewRepoLogObject(HostPool* pool, std::string_view path) {
  return new_object_of<StoredRepoLog>(path, pool);
}

RepoLog* insertRepoLogAtHead(HostPool* pool, std::string_view path) {
  return link_at_head(&headLogObject, createNewRepoLogObject(pool, path));
}

RepoLog* insertRepoLogAtTail(HostPool* pool, std::string_view path) {
  return link_at_tail(&headLogObject, createNewRepoLogObject(pool, path));
}

RepoLog* findRepoLogObject(std::string_view path) {
  return find_by<&RepoLog::path>(path, headLogObject);
}

RepoLog* select_history(const PoolText& path) {
  return select_by_path<StoredRepoLog>(&workingRepoLogObject, headLogObject, path);
}

int free_repo_log(std::string_view path) {
  return free_object(&headLogObject, &workingRepoLogObject, findRepoLogObject(path),
                     {.not_found = 0, .pool_not_destroyed = 1});
}

void insertCommitGraphNodeAtHead(CommitGraphNode* node) {
  RepoLog* history = workingRepoLogObject;
  stored(history)->index.is_current = false;
  link_before_first(&history->first, node);
}

void insertCommitGraphNodeAtTail(CommitGraphNode* node) { append_node(workingRepoLogObject, node); }

void append_node(RepoLog* history, CommitGraphNode* node) {
  stored(history)->index.is_current = false;
  append(&history->first, &history->last, node);
}

CommitGraphNode* findCommitGraphNode(std::string_view id) {
  return find_by<&CommitGraphNode::id>(id, workingRepoLogObject->first);
}

CommitGraphNode* history_entry(RepoLog* history, std::int64_t number) {
  return stored(history)->index.at(number, history->first, history->pool);
}

void prefetch_history_entry(std::int64_t number) {
  constexpr std::size_t node_and_texts = 512;
  if (workingRepoLogObject) stored(workingRepoLogObject)->index.expect(number, node_and_texts);
}

}  // namespace uwugit
