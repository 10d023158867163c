// libgit2 (1.1 to 1.9) walks a history in an order by reading every commit: it inflates each one,
// parses the half of it, and keeps its text in the cache of objects, where the lookup of the same
// commit finds it and parses it again. A history that is read from end to end pays for both.
//
// Here the walk that a history needs (each commit once, children before parents, otherwise newest
// first) is answered without libgit2's. The first git_revwalk_next looks every commit up once, with
// the cache out of the way, and makes a compact graph of them; each git_revwalk_next then takes the
// newest commit whose children have all been handed out; and the git_commit_lookup that follows it
// gets the commit that was looked up for the graph. What waits for its turn is bounded by
// kept_bytes(): a commit beyond that is freed and looked up again.
//
// The walk is libgit2's own object and learns all pushes as ever. So libgit2 can go on at any time,
// and does when it is asked for what is not answered here (another sorting, something hidden, a
// reset), when a commit cannot be looked up (libgit2's walk then finds the same and has the error
// for it), and when memory runs out. Commits of the same time come in libgit2's order as well: the
// heap below is libgit2's, and it begins with the tips in the same order. UWUGIT_OWN_WALK=0 in the
// environment leaves every walk to libgit2.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commit_graph.h"
#include "next.h"
#include "object_cache.h"
#include "one_writer.h"

namespace {

using Place = CommitGraph::Place;

constexpr unsigned kChildrenFirstNewestFirst = GIT_SORT_TOPOLOGICAL | GIT_SORT_TIME;
constexpr unsigned kMostParents = 65535;  // libgit2 walks past no commit with more

// What the commits of all walks that wait for their turn may take.
std::size_t kept_bytes() { return std::size_t{256} << 20; }
std::atomic<std::size_t> bytes_in_use = 0;

// About what libgit2's record of a commit takes: names and addresses are copied out of the header.
std::uint32_t size_of(const git_commit* commit) {
  constexpr std::size_t records = 400;
  const std::size_t size = records + 2 * std::strlen(git_commit_raw_header(commit)) +
                           std::strlen(git_commit_message_raw(commit));
  return static_cast<std::uint32_t>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

void keep(CommitGraph::Commit& place, git_commit* commit) {
  place.kept = commit;
  place.size = size_of(commit);
  bytes_in_use += place.size;
}

// Null when nothing is kept.
git_commit* take(CommitGraph::Commit& place) {
  if (place.kept) bytes_in_use -= place.size;
  return std::exchange(place.kept, nullptr);
}

// libgit2 (since 1.7) begins with the tip that was pushed last, and before with the first.
bool is_last_tip_first() {
  int major = 0;
  int minor = 0;
  int revision = 0;
  git_libgit2_version(&major, &minor, &revision);
  return major > 1 || minor >= 7;
}

// What is known of a walk besides libgit2's own record.
class LogWalk {
 public:
  LogWalk(const git_revwalk* revwalk, git_repository* repo) : walk(revwalk), repo_(repo) {}
  ~LogWalk() {
    for (Place place = 0; place < graph_.size(); ++place) git_commit_free(take(graph_[place]));
  }
  LogWalk(const LogWalk&) = delete;
  LogWalk& operator=(const LogWalk&) = delete;

  // The tips, as libgit2 finds them: each answers its code.
  int push(const git_oid& id) {
    git_object* object = nullptr;
    git_object* commit = nullptr;
    int code = git_object_lookup(&object, repo_, &id, GIT_OBJECT_ANY);
    if (code == 0) code = git_object_peel(&commit, object, GIT_OBJECT_COMMIT);
    const git_oid tip = code == 0 ? *git_object_id(commit) : git_oid{};
    git_object_free(commit);
    git_object_free(object);
    if (code == 0) tips_.push_back(tip);
    return code;
  }

  int push_reference(const char* name) {
    git_oid id;
    const int code = git_reference_name_to_id(&id, repo_, name);
    return code == 0 ? push(id) : code;
  }

  // References that lead to no commit are passed over.
  int push_glob(std::string_view given) {
    if (given.starts_with('/')) return GIT_EINVALIDSPEC;  // libgit2 takes such a slash away
    std::string glob = (given.starts_with("refs/") ? "" : "refs/") + std::string(given);
    if (given.find_first_of("?*[") == given.npos) glob += "/*";
    git_reference_iterator* made = nullptr;
    int code = git_reference_iterator_glob_new(&made, repo_, glob.c_str());
    const std::unique_ptr<git_reference_iterator, decltype(&git_reference_iterator_free)>
        references(made, git_reference_iterator_free);
    for (const char* name; code == 0 && (code = git_reference_next_name(&name, made)) == 0;) {
      code = push_reference(name);
      if (code == GIT_ENOTFOUND || code == GIT_EINVALIDSPEC || code == GIT_EPEEL) code = 0;
    }
    return code == GIT_ITEROVER ? 0 : code;
  }

  bool has_begun() const { return has_begun_; }

  // Looks up all that is reached. False when libgit2 has to answer.
  bool begin() {
    if (tips_.empty()) return false;
    const CacheOff cache(repo_, tips_.back());
    has_cache_ = cache.was_on();
    for (auto tip = tips_.rbegin(); tip != tips_.rend(); ++tip) graph_.place_of(*tip);
    const auto tip_count = static_cast<Place>(graph_.size());
    for (Place place = 0; place < graph_.size(); ++place) {
      if (!look_up(place)) return false;
    }
    const bool is_last_first = is_last_tip_first();
    for (Place i = 0; i < tip_count; ++i) expect(is_last_first ? i : tip_count - 1 - i);
    return has_begun_ = true;
  }

  bool is_over() const { return expected_.is_empty(); }

  void hand_out(git_oid* id) {
    if (handed_out_) git_commit_free(take(*handed_out_));
    const Place place = expected_.pop();
    handed_out_ = &graph_[place];
    for (const Place parent : graph_.parents_of(place)) {
      --graph_[parent].children;
      expect(parent);
    }
    ++count_;
    *id = handed_out_->id;
  }

  std::size_t count() const { return count_; }

  // For the lookup of the commit that was handed out last, the first one.
  bool is_turn_of(const git_repository* repo, const git_oid* id) const {
    return handed_out_ && repo == repo_ && git_oid_equal(&handed_out_->id, id);
  }
  git_commit* take_kept() { return take(*std::exchange(handed_out_, nullptr)); }
  bool has_cache() const { return has_cache_; }

  const git_revwalk* const walk;
  LogWalk* next = nullptr;
  bool is_asked_for = false;  // by the sorting

 private:
  bool look_up(Place place) {
    git_commit* commit = nullptr;
    if (NEXT(git_commit_lookup)(&commit, repo_, &graph_[place].id) != 0) {
      git_error_clear();
      return false;
    }
    keep(graph_[place], commit);
    graph_[place].time = git_commit_time(commit);
    graph_[place].first_parent = static_cast<std::uint32_t>(graph_.count_parents());
    const unsigned parent_count = git_commit_parentcount(commit);
    for (unsigned i = 0; i < parent_count; ++i) graph_.add_parent(*git_commit_parent_id(commit, i));
    if (bytes_in_use > kept_bytes()) git_commit_free(take(graph_[place]));
    return parent_count <= kMostParents;
  }

  // Not before its children have been handed out.
  void expect(Place place) {
    if (graph_[place].children == 0) expected_.push(graph_[place].time, place);
  }

  git_repository* const repo_;
  std::vector<git_oid> tips_;
  CommitGraph graph_;
  NewestFirst expected_;
  CommitGraph::Commit* handed_out_ = nullptr;
  std::size_t count_ = 0;
  bool has_begun_ = false;
  bool has_cache_ = false;
};

// Plain, so that a walk can still be freed when the process ends.
std::mutex mutex;
std::atomic<LogWalk*> first = nullptr;

LogWalk* find(const git_revwalk* walk) {
  if (!first.load(std::memory_order_relaxed)) return nullptr;
  const std::lock_guard lock(mutex);
  LogWalk* own = first;
  while (own && own->walk != walk) own = own->next;
  return own;
}

void remember(LogWalk* own) {
  const std::lock_guard lock(mutex);
  own->next = first;
  first = own;
}

// libgit2's walk stays as it is.
void forget(const git_revwalk* walk) {
  std::unique_ptr<LogWalk> own(find(walk));
  if (!own) return;
  const std::lock_guard lock(mutex);
  if (first == own.get()) {
    first = own->next;
  } else {
    LogWalk* before = first;
    while (before->next != own.get()) before = before->next;
    before->next = own->next;
  }
}

// Brings libgit2's walk to where ours is. From now on it is libgit2's alone.
void hand_over(git_revwalk* walk) {
  const LogWalk* own = find(walk);
  if (!own) return;
  const std::size_t count = own->count();
  forget(walk);
  git_oid passed_over;
  for (std::size_t i = 0; i < count; ++i) NEXT(git_revwalk_next)(&passed_over, walk);
}

// False as well when memory runs out.
template <class Step>
bool succeeds(Step step) {
  try {
    return step();
  } catch (const std::exception&) {
    return false;
  }
}

// Lets libgit2 push, and learns what it has pushed.
template <class Push, class Learn>
int push(git_revwalk* walk, Push push_to_libgit2, Learn learn) {
  LogWalk* own = find(walk);
  if (own && own->has_begun()) {
    hand_over(walk);
    own = nullptr;
  }
  const int code = push_to_libgit2();
  if (own && !(code == 0 && succeeds([&] { return learn(*own) == 0; }))) forget(walk);
  return code;
}

bool is_turned_off() {
  const char* value = std::getenv("UWUGIT_OWN_WALK");
  return value && std::string_view(value) == "0";
}

}  // namespace

EXPORT int git_revwalk_new(git_revwalk** walk, git_repository* repo) {
  const int code = NEXT(git_revwalk_new)(walk, repo);
  if (code != 0 || is_libgit2(__builtin_return_address(0))) return code;
  forget(*walk);  // one that was never freed, in a place that is used again
  succeeds([&] {
    remember(new LogWalk(*walk, repo));
    return true;
  });
  return code;
}

EXPORT void git_revwalk_free(git_revwalk* walk) {
  forget(walk);
  NEXT(git_revwalk_free)(walk);
}

EXPORT int git_revwalk_sorting(git_revwalk* walk, unsigned sorting) {
  LogWalk* own = find(walk);
  if (own && !own->has_begun() && sorting == kChildrenFirstNewestFirst && !is_turned_off()) {
    own->is_asked_for = true;
  } else {
    hand_over(walk);
  }
  return NEXT(git_revwalk_sorting)(walk, sorting);
}

EXPORT int git_revwalk_push(git_revwalk* walk, const git_oid* id) {
  return push(
      walk, [&] { return NEXT(git_revwalk_push)(walk, id); },
      [&](LogWalk& own) { return own.push(*id); });
}

EXPORT int git_revwalk_push_head(git_revwalk* walk) {
  return push(
      walk, [&] { return NEXT(git_revwalk_push_head)(walk); },
      [&](LogWalk& own) { return own.push_reference("HEAD"); });
}

EXPORT int git_revwalk_push_ref(git_revwalk* walk, const char* name) {
  return push(
      walk, [&] { return NEXT(git_revwalk_push_ref)(walk, name); },
      [&](LogWalk& own) { return own.push_reference(name); });
}

EXPORT int git_revwalk_push_glob(git_revwalk* walk, const char* glob) {
  return push(
      walk, [&] { return NEXT(git_revwalk_push_glob)(walk, glob); },
      [&](LogWalk& own) { return own.push_glob(glob); });
}

EXPORT int git_revwalk_next(git_oid* id, git_revwalk* walk) {
  LogWalk* own = find(walk);
  if (own && !own->has_begun() && !(own->is_asked_for && succeeds([&] { return own->begin(); }))) {
    forget(walk);
    own = nullptr;
  }
  if (!own || !id) return NEXT(git_revwalk_next)(id, walk);
  if (own->is_over()) {
    forget(walk);
    NEXT(git_revwalk_reset)(walk);
    git_error_clear();
    return GIT_ITEROVER;
  }
  const auto hand_out = [&] {
    const std::lock_guard lock(mutex);
    own->hand_out(id);
    return true;
  };
  if (succeeds(hand_out)) return 0;
  hand_over(walk);
  return NEXT(git_revwalk_next)(id, walk);
}

EXPORT int git_commit_lookup(git_commit** commit, git_repository* repo, const git_oid* id) {
  if (!first.load(std::memory_order_relaxed)) return NEXT(git_commit_lookup)(commit, repo, id);
  bool is_turn = false;
  bool has_cache = false;
  if (commit && id) {
    const std::lock_guard lock(mutex);
    LogWalk* own = first;
    while (own && !own->is_turn_of(repo, id)) own = own->next;
    if (own && (*commit = own->take_kept())) return 0;
    is_turn = own;
    has_cache = own && own->has_cache();
  }
  if (!is_turn) return NEXT(git_commit_lookup)(commit, repo, id);
  const CacheOff cache(has_cache);
  return NEXT(git_commit_lookup)(commit, repo, id);
}

// What is not answered here.
#define HANDED_OVER(name, parameters, ...) \
  EXPORT int name parameters {             \
    hand_over(walk);                       \
    return NEXT(name)(__VA_ARGS__);        \
  }
HANDED_OVER(git_revwalk_reset, (git_revwalk * walk), walk)
HANDED_OVER(git_revwalk_push_range, (git_revwalk * walk, const char* range), walk, range)
HANDED_OVER(git_revwalk_hide, (git_revwalk * walk, const git_oid* id), walk, id)
HANDED_OVER(git_revwalk_hide_glob, (git_revwalk * walk, const char* glob), walk, glob)
HANDED_OVER(git_revwalk_hide_head, (git_revwalk * walk), walk)
HANDED_OVER(git_revwalk_hide_ref, (git_revwalk * walk, const char* name), walk, name)
HANDED_OVER(git_revwalk_simplify_first_parent, (git_revwalk * walk), walk)
HANDED_OVER(git_revwalk_add_hide_cb, (git_revwalk * walk, git_revwalk_hide_cb hides, void* payload),
            walk, hides, payload)
HANDED_OVER(git_packbuilder_insert_walk, (git_packbuilder * builder, git_revwalk* walk), builder,
            walk)
