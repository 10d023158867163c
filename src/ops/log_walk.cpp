// One walk in topological order, children before parents, finds all that a log holds. What a commit
// learns from its children (their links, and whether it lies on the current branch) waits in a
// table keyed by the commit's id until the walk reaches it; so there is no question about ancestry,
// and a node is made in one piece when all that belongs to it is known.
#include "ops/log_walk.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "store/log_objects.h"
#include "store/packed_memory.h"
#include "support/strings.h"

namespace uwugit {
namespace {

constexpr unsigned kChildrenFirstNewestFirst = GIT_SORT_TOPOLOGICAL | GIT_SORT_TIME;
static_assert(kChildrenFirstNewestFirst == 3);
constexpr const char* kPushedGlobs[] = {"refs/remotes", "refs/heads", "refs/tags"};
constexpr char kStashReference[] = "refs/stash";
constexpr std::size_t kIdSize = 41;  // 40 hexadecimal characters and a NUL
constexpr std::int32_t kFirstColumn = 1;

// All that a walk calls, found once before it starts: the lookups by name for one commit would cost
// more than all else that is done for it here. With a library that lacks one of these the walk
// cannot be set up.
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
  if (!(name = GIT(git, name))) is_complete = false;
    FOR_EACH_WALK_FUNCTION(FIND)
#undef FIND
    git_commit_free = GIT(git, git_commit_free);
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

// A place among a child's parents that the node of a commit will take.
struct ParentPlace {
  CommitGraphNode* child;
  std::uint32_t index;
};

// What is known of a commit before the walk reaches it.
struct Expected {
  std::vector<ParentPlace> places;  // in the order in which the walk met the children
  std::int32_t branch_state = kBranchUnknown;
};

// What a walk works with.
struct LogWalk {
  const WalkFunctions& git2;
  MarkedCommits marked;
  PackedMemory memory;
  std::unordered_map<git_oid, Expected, IdHash, SameId> pending;
};

Expected take_expected(LogWalk& walk, const git_oid& oid) {
  const auto waiting = walk.pending.find(oid);
  if (waiting == walk.pending.end()) return {};
  Expected expected = std::move(waiting->second);
  walk.pending.erase(waiting);
  return expected;
}

const char* flag(bool is_set) { return is_set ? "TRUE" : "FALSE"; }

// A node in one piece of memory with its id, its children, room for its parents, and behind all
// that `text_size` bytes for its texts, which start at `*texts`.
CommitGraphNode* new_node(LogWalk& walk, const git_oid& oid, const Expected& expected,
                          std::uint32_t parent_count, std::size_t text_size, char** texts) {
  const std::size_t children = expected.places.size();
  const std::size_t links = (parent_count + children) * sizeof(CommitGraphNode*);
  void* memory = walk.memory.take(sizeof(CommitGraphNode) + links + kIdSize + text_size);
  auto* node = static_cast<CommitGraphNode*>(memory);
  *node = {};
  node->inCurrentBranchState = expected.branch_state;
  node->inCurrentBranch = flag(expected.branch_state == kInCurrentBranch);
  node->parentCount = parent_count;
  node->childCount = static_cast<std::uint32_t>(children);
  node->parents = reinterpret_cast<CommitGraphNode**>(node + 1);
  node->children = node->parents + parent_count;
  for (std::size_t i = 0; i < children; ++i) {
    const ParentPlace& place = expected.places[i];
    node->children[i] = place.child;
    place.child->parents[place.index] = node;
  }
  auto* id = reinterpret_cast<char*>(node->children + children);
  walk.git2.git_oid_fmt(id, &oid);
  id[kIdSize - 1] = '\0';
  node->id = id;
  *texts = id + kIdSize;
  return node;
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

// The texts of a commit. A committer who is the author shares the author's.
struct CommitTexts {
  CommitTexts(const WalkFunctions& git2, const git_commit* commit)
      : CommitTexts(git2.git_commit_message(commit), *git2.git_commit_author(commit),
                    *git2.git_commit_committer(commit)) {}
  CommitTexts(const char* text, const git_signature& by, const git_signature& committed_by)
      : message(text),
        author(by.name),
        author_email(by.email),
        committer(committed_by.name),
        committer_email(committed_by.email) {}

  std::size_t size() const {
    return message.size + author.size + author_email.size + (is_same_name ? 0 : committer.size) +
           (is_same_email ? 0 : committer_email.size);
  }

  void copy_to(char* next, CommitGraphNode* node) const {
    const auto put = [&next](const Text& text) {
      char* copy = next;
      std::memcpy(copy, text.characters, text.size);
      next += text.size;
      return copy;
    };
    node->authorName = put(author);
    node->authorEmail = put(author_email);
    node->committerName = is_same_name ? node->authorName : put(committer);
    node->committerEmail = is_same_email ? node->authorEmail : put(committer_email);
    node->message = put(message);  // the longest comes last: the others lie close to the node
  }

  Text message;
  Text author;
  Text author_email;
  Text committer;
  Text committer_email;
  bool is_same_name = author == committer;
  bool is_same_email = author_email == committer_email;
};

// HEAD is on the current branch whatever its children are; a commit that no child told about is
// not.
std::int32_t branch_state(const git_oid& oid, const MarkedCommits& marked, std::int32_t inherited) {
  if (SameId{}(oid, marked.head)) return kInCurrentBranch;
  return inherited == kBranchUnknown ? kNotInCurrentBranch : inherited;
}

// Once one child is on the current branch, the parent stays on it.
void expect_parent(LogWalk& walk, const git_oid& parent, const ParentPlace& place) {
  Expected& expected = walk.pending[parent];
  expected.places.push_back(place);
  expected.branch_state = std::max(expected.branch_state, place.child->inCurrentBranchState);
}

void add_commit(LogWalk& walk, const git_oid& oid, const git_commit* commit) {
  Expected expected = take_expected(walk, oid);
  expected.branch_state = branch_state(oid, walk.marked, expected.branch_state);
  const CommitTexts content(walk.git2, commit);
  char* texts = nullptr;
  CommitGraphNode* node = new_node(walk, oid, expected, walk.git2.git_commit_parentcount(commit),
                                   content.size(), &texts);
  content.copy_to(texts, node);
  node->stash = flag(SameId{}(oid, walk.marked.stash));
  node->time = walk.git2.git_commit_time(commit);
  node->graphColumn = kFirstColumn;
  for (std::uint32_t i = 0; i < node->parentCount; ++i) {
    expect_parent(walk, *walk.git2.git_commit_parent_id(commit, i), {node, i});
  }
  insertCommitGraphNodeAtTail(node);
}

// Commits that were named as parents and never reached (of a shallow clone, or lost) are known by
// their ids. They have nodes for their children's sake, which are not in the list.
void add_unreached(LogWalk& walk) {
  for (const auto& [oid, expected] : walk.pending) {
    char* texts = nullptr;
    new_node(walk, oid, expected, 0, 0, &texts);
  }
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
  Held<git_reference> stash(call.git);
  if (git2.git_reference_lookup(&stash.it, repo, kStashReference) == 0) {
    if (git2.git_revwalk_push_ref(revwalk, kStashReference) < 0) return false;
    take_target(git2, stash.it, &marked->stash);
  }
  Held<git_reference> head(call.git);
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
  Held<git_revwalk> revwalk(call.git);
  if (git2.git_revwalk_new(&revwalk.it, repo) < 0) return call.fail();
  MarkedCommits marked;
  if (!set_up_walk(call, git2, repo, revwalk.it, &marked)) return call.fail();

  replace_log(call.pool, path);
  LogWalk walk{.git2 = git2, .marked = marked, .memory = {call.pool}, .pending = {}};
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
  add_unreached(walk);
  *call.result = count;
}

}  // namespace uwugit
