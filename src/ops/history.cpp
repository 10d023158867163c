// One walk in topological order, children before parents, finds all that a history holds. What a
// commit learns from its children (their links, and whether it lies on the current branch) waits in
// a table keyed by the commit's id until the walk reaches it; so there is no question about
// ancestry, and a node is made in one piece when all that belongs to it is known.
#include "ops/history.h"

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

// What is called for every commit, looked up once before the walk: to look all of it up again for
// each commit would cost more than what is done for it here.
struct WalkFunctions {
  GitModule* git;
#define LOOKED_UP(name) decltype(&::name) name = GIT(git, name);
  LOOKED_UP(git_revwalk_next)
  LOOKED_UP(git_commit_lookup)
  LOOKED_UP(git_oid_tostr)
  LOOKED_UP(git_oid_fmt)
  LOOKED_UP(git_commit_message)
  LOOKED_UP(git_commit_author)
  LOOKED_UP(git_commit_committer)
  LOOKED_UP(git_commit_time)
  LOOKED_UP(git_commit_parentcount)
  LOOKED_UP(git_commit_parent_id)
  LOOKED_UP(git_commit_free)
#undef LOOKED_UP
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

// A commit that was named as a parent and not reached yet.
struct PendingCommit {
  std::vector<ParentPlace> places;  // in the order in which the walk met the children
  std::int32_t branch_state = kBranchUnknown;
};

// A walk that is under way.
struct Walk {
  const WalkFunctions git2;
  const git_oid stash;  // the commits to be marked; all zero: none, as no commit has that id
  const git_oid head;
  RepoLog* const history;
  PackedMemory memory;
  std::unordered_map<git_oid, PendingCommit, IdHash, SameId> pending;
};

PendingCommit take_pending(Walk& walk, const git_oid& oid) {
  const auto waiting = walk.pending.find(oid);
  if (waiting == walk.pending.end()) return {};
  PendingCommit pending = std::move(waiting->second);
  walk.pending.erase(waiting);
  return pending;
}

const char* flag(bool is_set) { return is_set ? "TRUE" : "FALSE"; }

// A node in one piece of memory with its children, room for its parents and its id, and behind that
// `text_size` bytes for its texts.
CommitGraphNode* new_node(Walk& walk, const PendingCommit& pending, std::uint32_t parent_count,
                          std::size_t text_size) {
  const std::size_t children = pending.places.size();
  const std::size_t links = (parent_count + children) * sizeof(void*);
  void* memory = walk.memory.take(sizeof(CommitGraphNode) + links + kIdSize + text_size);
  auto* node = static_cast<CommitGraphNode*>(memory);
  *node = {};
  node->parentCount = parent_count;
  node->childCount = static_cast<std::uint32_t>(children);
  node->parents = reinterpret_cast<CommitGraphNode**>(node + 1);
  node->children = node->parents + parent_count;
  for (std::size_t i = 0; i < children; ++i) {
    const auto& [child, index] = pending.places[i];
    node->children[i] = child;
    child->parents[index] = node;
  }
  node->inCurrentBranchState = pending.branch_state;
  node->inCurrentBranch = flag(pending.branch_state == kInCurrentBranch);
  return node;
}

char* room_for_id(CommitGraphNode* node) {
  return reinterpret_cast<char*>(node->children + node->childCount);
}

// A text with its NUL, on its way from libgit2 into a history.
struct Text {
  explicit Text(const char* text) : characters(text ? text : ""), size(wzstlen(text) + 1) {}
  bool operator==(const Text& other) const {
    return size == other.size && std::memcmp(characters, other.characters, size) == 0;
  }

  const char* characters;
  std::size_t size;
};

// Somebody without a name where libgit2 does not tell.
const git_signature& known(const git_signature* signature) {
  static constexpr git_signature nobody = {};
  return signature ? *signature : nobody;
}

// The texts of a commit. A committer who is the author shares the author's.
struct CommitTexts {
  CommitTexts(const WalkFunctions& git2, const git_commit* commit)
      : CommitTexts(if_found(git2.git_commit_message, commit),
                    known(if_found(git2.git_commit_author, commit)),
                    known(if_found(git2.git_commit_committer, commit))) {}
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
std::int32_t branch_state(const Walk& walk, const git_oid& oid, std::int32_t inherited) {
  if (SameId()(oid, walk.head)) return kInCurrentBranch;
  return inherited == kBranchUnknown ? kNotInCurrentBranch : inherited;
}

// Once one child is on the current branch, the parent stays on it.
void expect_parent(Walk& walk, const git_oid& parent, const ParentPlace& place) {
  PendingCommit& pending = walk.pending[parent];
  pending.places.push_back(place);
  pending.branch_state = std::max(pending.branch_state, place.child->inCurrentBranchState);
}

// Up to the first whose id libgit2 does not tell.
void expect_parents(Walk& walk, CommitGraphNode* node, const git_commit* commit) {
  for (std::uint32_t i = 0; i < node->parentCount; ++i) {
    const git_oid* parent = if_found(walk.git2.git_commit_parent_id, commit, i);
    if (!parent) {
      node->parentCount = i;
      return;
    }
    expect_parent(walk, *parent, {node, i});
  }
}

void add_node(Walk& walk, const git_oid& oid, const git_commit* commit) {
  const WalkFunctions& git2 = walk.git2;
  PendingCommit pending = take_pending(walk, oid);
  pending.branch_state = branch_state(walk, oid, pending.branch_state);
  const CommitTexts texts(git2, commit);
  const std::uint32_t parent_count = if_found(git2.git_commit_parentcount, commit);
  CommitGraphNode* node = new_node(walk, pending, parent_count, texts.size());
  node->id = if_found(git2.git_oid_tostr, room_for_id(node), kIdSize, &oid);
  texts.copy_to(room_for_id(node) + kIdSize, node);
  node->stash = flag(SameId()(oid, walk.stash));
  node->time = if_found(git2.git_commit_time, commit);
  node->graphColumn = kFirstColumn;
  expect_parents(walk, node, commit);
  append_node(walk.history, node);
}

// False when the commit cannot be looked up. The walk goes on without it.
bool add_commit(Walk& walk, const RepoCall& call, const git_oid& oid) {
  git_commit* commit = nullptr;
  if (required(walk.git2.git_commit_lookup, &commit, call.repo.it, &oid) != 0) {
    log_git_error(call);
    return false;
  }
  add_node(walk, oid, commit);
  if_found(walk.git2.git_commit_free, commit);
  return true;
}

// Commits that were named as parents and never reached (of a shallow clone, or lost) are known by
// their ids. They have nodes for their children's sake, which are not in the list.
void add_unreached(Walk& walk) {
  for (const auto& [oid, pending] : walk.pending) {
    CommitGraphNode* node = new_node(walk, pending, 0, 0);
    char* id = room_for_id(node);
    id[kIdSize - 1] = '\0';
    if (required(walk.git2.git_oid_fmt, id, &oid) == 0) node->id = id;
  }
}

// Sorting and starting points; false when libgit2 fails. A repository without a stash has no
// reference to it.
bool set_up_walk(const RepoCall& call, git_revwalk** revwalk, git_reference** stash,
                 git_reference** head) {
  git_repository* repo = call.repo.it;
  if (required(GIT(call, git_revwalk_new), revwalk, repo) < 0) return false;
  if (required(GIT(call, git_revwalk_sorting), *revwalk, kChildrenFirstNewestFirst) < 0) {
    return false;
  }
  if (required(GIT(call, git_revwalk_push_head), *revwalk) < 0) return false;
  auto* push_glob = GIT(call, git_revwalk_push_glob);
  for (const char* glob : kPushedGlobs) {
    if (required(push_glob, *revwalk, glob) < 0) return false;
  }
  if (required(GIT(call, git_reference_lookup), stash, repo, kStashReference) == 0) {
    if (required(GIT(call, git_revwalk_push_ref), *revwalk, kStashReference) < 0) return false;
  }
  return required(GIT(call, git_repository_head), head, repo) >= 0;
}

// A reference to a name that is not resolved yet has no target of its own: nothing is marked.
git_oid target_of(const RepoCall& call, const git_reference* reference) {
  const git_oid* target =
      reference ? if_found(GIT(call, git_reference_target), reference) : nullptr;
  return target ? *target : git_oid{};
}

RepoLog* replace_history(HostPool* pool, std::string_view path) {
  free_repo_log(path);
  return workingRepoLogObject = insertRepoLogAtTail(pool, path);
}

}  // namespace

void walk_history(const RepoCall& call) {
  Held<git_revwalk> revwalk(call);
  Held<git_reference> head(call);  // released after the stash's
  Held<git_reference> stash(call);
  if (!set_up_walk(call, &revwalk.it, &stash.it, &head.it)) return call.fail();

  Walk walk = {.git2 = {call.git},
               .stash = target_of(call, stash.it),
               .head = target_of(call, head.it),
               .history = replace_history(call.pool, call.path.text),
               .memory = {call.pool},
               .pending = {}};
  std::int32_t count = 0;
  for (git_oid oid; required(walk.git2.git_revwalk_next, &oid, revwalk.it) == 0;) {
    if (add_commit(walk, call, oid)) ++count;
  }
  add_unreached(walk);
  *call.result = count;
}

}  // namespace uwugit
