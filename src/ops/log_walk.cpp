// One walk in topological order, children before parents, finds all that a log holds. A commit that
// is named as a parent before the walk reaches it gets its node at once and waits in a table keyed
// by its id; so children and the mark of the current branch are passed on from child to parent,
// without a question about ancestry.
#include "ops/log_walk.h"

#include <bit>
#include <cstring>
#include <unordered_map>

#include "store/log_objects.h"
#include "store/packed_memory.h"
#include "support/strings.h"

namespace uwugit {
namespace {

constexpr unsigned kChildrenFirstNewestFirst = GIT_SORT_TOPOLOGICAL | GIT_SORT_TIME;
static_assert(kChildrenFirstNewestFirst == 3);
constexpr const char* kPushedGlobs[] = {"refs/remotes", "refs/heads", "refs/tags"};
constexpr char kStashReference[] = "refs/stash";
constexpr char kTrue[] = "TRUE";
constexpr char kFalse[] = "FALSE";
constexpr std::size_t kIdLength = 40;
constexpr std::int32_t kNoColumn = -1;
constexpr std::int32_t kFirstColumn = 1;

// What the walk calls for each commit is found once, before it starts: a lookup by name costs about
// as much as the rest of a commit. A library that lacks one of these cannot set up a walk.
#define FOR_EACH_WALK_FUNCTION(X) \
  X(git_revwalk_new)              \
  X(git_revwalk_sorting)          \
  X(git_revwalk_push_head)        \
  X(git_revwalk_push_glob)        \
  X(git_revwalk_push_ref)         \
  X(git_revwalk_next)             \
  X(git_reference_lookup)         \
  X(git_reference_target)         \
  X(git_repository_head)          \
  X(git_oid_fmt)                  \
  X(git_commit_lookup)            \
  X(git_commit_message)           \
  X(git_commit_author)            \
  X(git_commit_committer)         \
  X(git_commit_time)              \
  X(git_commit_parentcount)       \
  X(git_commit_parent_id)

struct WalkFunctions {
  explicit WalkFunctions(GitModule* git) {
#define FIND(name) \
  if (!(name = GIT_FUNCTION(git, name))) is_complete = false;
    FOR_EACH_WALK_FUNCTION(FIND)
#undef FIND
    git_commit_free = GIT_FUNCTION(git, git_commit_free);
  }

  bool is_complete = true;
#define DECLARE(name) decltype(&::name) name = nullptr;
  FOR_EACH_WALK_FUNCTION(DECLARE)
  DECLARE(git_commit_free)  // without it the walk goes on and releases nothing
#undef DECLARE
};

// The commits that are marked in a log. All zero: none, no commit has that id.
struct MarkedCommits {
  git_oid stash{};
  git_oid head{};
};

struct SameId {
  bool operator()(const git_oid& left, const git_oid& right) const {
    return std::memcmp(left.id, right.id, sizeof left.id) == 0;
  }
};
struct IdHash {  // an id is a hash already
  std::size_t operator()(const git_oid& oid) const {
    std::size_t hash;
    std::memcpy(&hash, oid.id, sizeof hash);
    return hash;
  }
};

// A node together with its id and with room for the only child that most commits have.
struct PackedNode : CommitGraphNode {
  CommitGraphNode* only_child;
  char id_characters[kIdLength + 1];
};

// What a walk works with.
struct LogWalk {
  const WalkFunctions& git2;
  MarkedCommits marked;
  HostPool* pool;
  PackedMemory memory{pool};
  // Named as a parent and not yet reached.
  std::unordered_map<git_oid, PackedNode*, IdHash, SameId> pending;
};

PackedNode* new_node(LogWalk& walk, const git_oid& oid) {
  auto* node = static_cast<PackedNode*>(walk.memory.take(sizeof(PackedNode)));
  *node = {};
  walk.git2.git_oid_fmt(node->id_characters, &oid);
  node->id = node->id_characters;
  node->inCurrentBranchState = kBranchUnknown;
  return node;
}

PackedNode* take_node(LogWalk& walk, const git_oid& oid) {
  if (const auto waiting = walk.pending.find(oid); waiting != walk.pending.end()) {
    PackedNode* node = waiting->second;
    walk.pending.erase(waiting);
    return node;
  }
  PackedNode* node = new_node(walk, oid);
  node->graphColumn = kNoColumn;
  return node;
}

void add_child(LogWalk& walk, PackedNode* parent, CommitGraphNode* child) {
  const std::uint32_t count = parent->childCount++;
  const std::size_t doubled = 2 * std::size_t{count} * sizeof(CommitGraphNode*);
  if (count == 0) {
    parent->children = &parent->only_child;
  } else if (count == 1) {
    parent->children = static_cast<CommitGraphNode**>(walk.pool->allocate(walk.pool, doubled, 0));
    parent->children[0] = parent->only_child;
  } else if (std::has_single_bit(count)) {
    parent->children = static_cast<CommitGraphNode**>(
        walk.pool->reallocate(walk.pool, parent->children, doubled, 0));
  }
  parent->children[count] = child;
}

void pass_branch_on(const CommitGraphNode* child, CommitGraphNode* parent) {
  const bool is_new_to_branch = child->inCurrentBranchState == kInCurrentBranch &&
                                parent->inCurrentBranchState != kInCurrentBranch;
  if (!is_new_to_branch && parent->inCurrentBranchState != kBranchUnknown) return;
  parent->inCurrentBranchState = child->inCurrentBranchState;
  parent->inCurrentBranch = child->inCurrentBranch;
}

void mark(CommitGraphNode* node, const git_oid& oid, const MarkedCommits& marked) {
  node->stash = SameId{}(oid, marked.stash) ? kTrue : kFalse;
  const bool is_head = SameId{}(oid, marked.head);
  if (node->inCurrentBranchState != kBranchUnknown && !is_head) return;  // a child decided
  node->inCurrentBranchState = is_head ? kInCurrentBranch : kNotInCurrentBranch;
  node->inCurrentBranch = is_head ? kTrue : kFalse;
}

// A text with its NUL, on its way from libgit2 into a log.
struct Text {
  explicit Text(const char* text) : characters(text ? text : ""), size(wzstlen(text) + 1) {}
  bool operator==(const Text& other) const {
    return size == other.size && std::memcmp(characters, other.characters, size) == 0;
  }

  const char* characters;
  std::size_t size;
};

const char* put(const Text& text, char** next) {
  char* copy = *next;
  std::memcpy(copy, text.characters, text.size);
  *next += text.size;
  return copy;
}

// Gives the node one piece of memory for its parents, which are not filled yet, and all its texts.
// A committer who is the author shares the author's texts.
void copy_content(LogWalk& walk, CommitGraphNode* node, const git_commit* commit) {
  const git_signature* author = walk.git2.git_commit_author(commit);
  const git_signature* committer = walk.git2.git_commit_committer(commit);
  const Text message(walk.git2.git_commit_message(commit));
  const Text author_name(author->name);
  const Text author_email(author->email);
  const Text committer_name(committer->name);
  const Text committer_email(committer->email);
  const bool is_same_name = author_name == committer_name;
  const bool is_same_email = author_email == committer_email;
  node->time = walk.git2.git_commit_time(commit);
  node->parentCount = walk.git2.git_commit_parentcount(commit);
  if (node->graphColumn == kNoColumn) node->graphColumn = kFirstColumn;

  const std::size_t parents = node->parentCount * sizeof(CommitGraphNode*);
  auto* next = static_cast<char*>(walk.memory.take(
      parents + message.size + author_name.size + author_email.size +
      (is_same_name ? 0 : committer_name.size) + (is_same_email ? 0 : committer_email.size)));
  node->parents = reinterpret_cast<CommitGraphNode**>(next);
  next += parents;
  node->message = put(message, &next);
  node->authorName = put(author_name, &next);
  node->authorEmail = put(author_email, &next);
  node->committerName = is_same_name ? node->authorName : put(committer_name, &next);
  node->committerEmail = is_same_email ? node->authorEmail : put(committer_email, &next);
}

void add_commit(LogWalk& walk, const git_oid& oid, const git_commit* commit) {
  PackedNode* node = take_node(walk, oid);
  mark(node, oid, walk.marked);
  copy_content(walk, node, commit);
  for (std::uint32_t i = 0; i < node->parentCount; ++i) {
    const git_oid& parent_id = *walk.git2.git_commit_parent_id(commit, i);
    PackedNode*& parent = walk.pending[parent_id];
    if (!parent) parent = new_node(walk, parent_id);
    node->parents[i] = parent;
    add_child(walk, parent, node);
    pass_branch_on(node, parent);
  }
  insertCommitGraphNodeAtTail(node);
}

// A reference to a name that is not resolved yet has no target of its own: nothing is marked.
void take_target(const WalkFunctions& git2, const git_reference* reference, git_oid* oid) {
  if (const git_oid* target = git2.git_reference_target(reference)) *oid = *target;
}

// Sorting, the starting points, and what is to be marked; false when libgit2 fails.
bool set_up_walk(GitCall& call, const WalkFunctions& git2, git_repository* repo,
                 git_revwalk* revwalk, MarkedCommits* marked) {
  if (git2.git_revwalk_sorting(revwalk, kChildrenFirstNewestFirst) < 0) return false;
  if (git2.git_revwalk_push_head(revwalk) < 0) return false;
  for (const char* glob : kPushedGlobs) {
    if (git2.git_revwalk_push_glob(revwalk, glob) < 0) return false;
  }
  Held<git_reference> stash(call.git, free_git_reference);
  if (git2.git_reference_lookup(&stash.it, repo, kStashReference) == 0) {
    if (git2.git_revwalk_push_ref(revwalk, kStashReference) < 0) return false;
    take_target(git2, stash.it, &marked->stash);
  }
  Held<git_reference> head(call.git, free_git_reference);
  if (git2.git_repository_head(&head.it, repo) < 0) return false;
  take_target(git2, head.it, &marked->head);
  return true;
}

void replace_log(HostPool* pool, const char* path) {
  if (findRepoLogObject(path)) free_repo_log(path);
  workingRepoLogObject = insertRepoLogAtTail(pool, path);
}

}  // namespace

void walk_log(GitCall& call, git_repository* repo, const char* path) {
  const WalkFunctions git2(call.git);
  if (!git2.is_complete) return call.fail();
  Held<git_revwalk> revwalk(call.git, free_git_revwalk);
  if (git2.git_revwalk_new(&revwalk.it, repo) < 0) return call.fail();
  MarkedCommits marked;
  if (!set_up_walk(call, git2, repo, revwalk.it, &marked)) return call.fail();

  replace_log(call.pool, path);
  LogWalk walk{.git2 = git2, .marked = marked, .pool = call.pool};
  std::int32_t count = 0;
  for (git_oid oid; git2.git_revwalk_next(&oid, revwalk.it) == 0;) {
    git_commit* commit = nullptr;
    if (git2.git_commit_lookup(&commit, repo, &oid) != 0) {
      log_git_error(call.git);
      continue;
    }
    add_commit(walk, oid, commit);
    if (git2.git_commit_free) git2.git_commit_free(commit);
    ++count;
  }
  *call.result = count;
}

}  // namespace uwugit
