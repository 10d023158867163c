// The history of a repository.
//
// get_commit_log(repository) -> number of commits
//     Stores every commit that HEAD, a local or remote-tracking branch, a tag or the latest stash
//     reaches, each before its parents and otherwise the newest first, in the repository's log,
//     which replaces an earlier one. -1: the repository cannot be opened or the walk cannot be set
//     up, for example because HEAD has no commit yet; an earlier log stays. Unchanged: libgit2
//     could not be loaded or initialised.
//
// get_commit_attribute(number, repository, attribute, variable)
//     Fills the variable with an attribute of one commit, blank-padded: ID, AUTHOR, EMAIL,
//     COMMITTER, COMMITTER_EMAIL, MESSAGE, TIME, PARENT_IDS, CHILDREN_IDS, STASH or
//     IN_CURRENT_BRANCH; any other name gives blanks. A number without a commit leaves the variable
//     alone. Writes no return code; its integer result is 1 when the repository has no log.
//
// free_commit_objects(repository) -> 0
//     Discards the log, also when there is none. 1: its memory could not be released.
//
// Example: get_commit_log("/home/me/project"); get_commit_attribute(1, "/home/me/project", "ID",
// id);

#include <cstring>
#include <string_view>

#include "gitbind/frame.h"
#include "module/upper_case.h"
#include "ops/log_walk.h"
#include "store/log_objects.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kGetCommitLog = {.pool_name = "gitCommitLogPool",
                                      .is_result_preset = false,
                                      .is_load_failure_reported = false,
                                      .failure = kFailure};
constexpr char kGetCommitAttributePool[] = "get_commit_attribute_pool";
constexpr char kFreeCommitPool[] = "free_commit_pool";

constexpr int kReadingDone = 0;
constexpr int kNoCommitObjects = 1;
constexpr std::size_t kTimeWidth = 20;

using AttributeWriter = void(const CommitGraphNode* node, HostPool* pool, HostString* variable);

template <auto text>
void write_text(const CommitGraphNode* node, HostPool*, HostString* variable) {
  write_value(variable, node->*text, wzstlen(node->*text));
}

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
struct Attribute {
  std::string_view name;
  AttributeWriter* write;
};
constexpr Attribute kAttributes[] = {
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

// Without the trailing blanks, which are insignificant, names differ by their length already.
std::string_view without_trailing_blanks(std::string_view name) {
  return name.substr(0, name.find_last_not_of(' ') + 1);
}

// The attribute's name is upper-cased in place.
void read_attribute(const CommitGraphNode* node, char* attribute_name, HostPool* pool,
                    HostString* variable) {
  toUpperCase(attribute_name);
  blank_fill(variable);
  const std::string_view wanted = without_trailing_blanks(attribute_name);
  for (const Attribute& attribute : kAttributes) {
    if (attribute.name != wanted) continue;
    attribute.write(node, pool, variable);
    break;
  }
  take_full_capacity(variable);
}

// The repository's log, made the working one; null when there is none.
RepoLog* select_log(const PoolText& path) {
  if (!workingRepoLogObject || !is_log_of(workingRepoLogObject, {path.text, path.length})) {
    workingRepoLogObject = findRepoLogObject(path.text);
  }
  return workingRepoLogObject;
}

}  // namespace

int get_commit_log(const HostArgumentBlock* arguments, double* result) {
  const HostText path_argument = text_argument(arguments, 0);
  GitCall call(kGetCommitLog, arguments, result);
  if (!call.is_ready()) return 0;
  const PoolText path(call.pool, path_argument);
  Held<git_repository> repo(call.git);
  if (open_repo(call.git, path.text, &repo.it) < 0) {
    *result = kFailure;
    xpslog(message::kErrorOpening, path.text);
    return 0;
  }
  walk_log(call, repo.it, path.text);
  return 0;
}

int get_commit_attribute(const HostArgumentBlock* arguments, double*) {
  const std::int32_t number = number_argument(arguments, 0);
  prefetch_log_entry(number);
  HostPool* pool = create_pool(kGetCommitAttributePool);
  PoolText path(pool, text_argument(arguments, 1));
  PoolText attribute(pool, text_argument(arguments, 2));
  RepoLog* log = select_log(path);
  if (!log) {
    // Kept as it is: the pool then holds two blocks, so that a host cannot recycle it. Callers that
    // read without a log in a loop pay with a pool for each call.
    path.leave_in_pool();
    attribute.leave_in_pool();
    xpslog(message::kNoCommitObjects);
    return kNoCommitObjects;
  }
  if (const CommitGraphNode* node = log_entry(log, number)) {
    read_attribute(node, attribute.text, pool, output_argument(arguments, 3));
  }
  return kReadingDone;
}

int free_commit_objects(const HostArgumentBlock* arguments, double* result) {
  const PoolText path(create_pool(kFreeCommitPool), text_argument(arguments, 0));
  const int freed = free_repo_log(path.text);
  *result = freed;
  if (freed != 0) {
    xpslog(message::kLogNotFreed);
  } else {
    xpslog(message::kLogFreed, path.text);
  }
  return 0;
}

}  // namespace uwugit
