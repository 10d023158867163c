// The history of a repository. Its users know it as the commit log.
//
// get_commit_log(repository) -> number of commits, or -1
// get_commit_attribute(number, repository, attribute, variable); returns 0, 1
// free_commit_objects(repository) -> 0, 1

#include "ops/attributes.h"
#include "ops/history.h"
#include "store/log_objects.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kGetCommitLog = {.pool_name = "gitCommitLogPool",
                                      .is_load_failure_reported = false,
                                      .opening_error = message::kErrorOpening};
constexpr char kGetCommitAttributePool[] = "get_commit_attribute_pool";
constexpr char kFreeCommitPool[] = "free_commit_pool";

constexpr int kReadingDone = 0;
constexpr int kNoCommitObjects = 1;
constexpr std::size_t kTimeWidth = 20;

void write_time(const CommitGraphNode* node, HostPool*, HostString* variable) {
  char field[kTimeWidth + 1];
  wzclchr(node->time, field, kTimeWidth);
  field[kTimeWidth] = '\0';
  write_value(variable, field, kTimeWidth);
}

// The ids of nodes with a comma between them. A node without an id adds nothing, not even a comma.
template <auto nodes, auto count>
void write_ids(const CommitGraphNode* node, HostPool* pool, HostString* variable) {
  std::size_t room = 1;
  for (std::uint32_t i = 0; i < node->*count; ++i) room += wzstlen((node->*nodes)[i]->id) + 1;
  auto* joined = static_cast<char*>(pool->allocate(pool, room, 0));
  joined[0] = '\0';
  std::size_t length = 0;
  for (std::uint32_t i = 0; i < node->*count; ++i) {
    const char* id = (node->*nodes)[i]->id;
    if (!id) continue;
    length = wzstcat(joined, length, room, id, wzstlen(id));
    if (i + 1 < node->*count) length = wzstcat(joined, length, room, ",", 1);
  }
  write_value(variable, joined, length);
  pool->free_block(pool, joined);
}

// GRAPH_COLUMN is an attribute by name only: like an unknown one it reads as blanks.
constexpr Attribute<CommitGraphNode> kAttributes[] = {
    {"ID", write_text<&CommitGraphNode::id>},
    {"AUTHOR", write_text<&CommitGraphNode::authorName>},
    {"EMAIL", write_text<&CommitGraphNode::authorEmail>},
    {"COMMITTER", write_text<&CommitGraphNode::committerName>},
    {"COMMITTER_EMAIL", write_text<&CommitGraphNode::committerEmail>},
    {"MESSAGE", write_text<&CommitGraphNode::message>},
    {"TIME", write_time},
    {"PARENT_IDS", write_ids<&CommitGraphNode::parents, &CommitGraphNode::parentCount>},
    {"CHILDREN_IDS", write_ids<&CommitGraphNode::children, &CommitGraphNode::childCount>},
    {"STASH", write_text<&CommitGraphNode::stash>},
    {"IN_CURRENT_BRANCH", write_text<&CommitGraphNode::inCurrentBranch>},
};

}  // namespace

int get_commit_log(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kGetCommitLog, arguments, result);
  if (call.is_ready()) walk_history(call);
  return 0;
}

int get_commit_attribute(const HostArgumentBlock* arguments, double*) {
  const std::int32_t number = number_argument(arguments, 0);
  prefetch_history_entry(number);
  HostPool* pool = create_pool(kGetCommitAttributePool);
  PoolText path(pool, text_argument(arguments, 1));
  PoolText name(pool, text_argument(arguments, 2));
  RepoLog* history = select_history(path);
  if (!history) {
    // Kept as it is: the pool then holds two blocks, so that a host cannot recycle it. Callers that
    // read without a history in a loop pay with a pool for each call.
    path.leave_in_pool();
    name.leave_in_pool();
    xpslog(message::kNoCommitObjects);
    return kNoCommitObjects;
  }
  if (const CommitGraphNode* node = history_entry(history, number)) {
    read_attribute(kAttributes, node, name, output_argument(arguments, 3));
  }
  return kReadingDone;
}

int free_commit_objects(const HostArgumentBlock* arguments, double* result) {
  const PoolText path(create_pool(kFreeCommitPool), text_argument(arguments, 0));
  const int code = free_repo_log(path.text);
  *result = code;
  if (code == 0) {
    xpslog(message::kLogFreed, path.text);
  } else {
    xpslog(message::kLogNotFreed);
  }
  return 0;
}

}  // namespace uwugit
