// libgit2 (1.1 to 1.9) walks a history in an order by reading every commit: it inflates each one,
// parses half of it, and keeps its text in the cache of objects, where the lookup of the same
// commit finds it and parses it again. A history that is read from end to end pays for both.
//
// Here the walk that a history needs (each commit once, children before parents, otherwise newest
// first) is answered without libgit2's. The first git_revwalk_next looks every commit up once, with
// the cache out of the way, and makes a compact graph of them; each git_revwalk_next then takes the
// newest commit whose children have all been handed out; and the git_commit_lookup that follows it
// gets the commit that was looked up for the graph (log_walk.cpp). What waits for its turn is
// bounded: a commit beyond that is freed and looked up again.
//
// The walk is libgit2's own object and learns all pushes as ever. So libgit2 can go on at any time,
// and does when it is asked for what is not answered here (another sorting, something hidden, a
// reset), when a commit cannot be looked up (libgit2's walk then finds the same and has the error
// for it), and when memory runs out. Commits of the same time come in libgit2's order as well:
// they wait in the same heap (commit_graph.cpp), which begins with the tips in the same order.
// UWUGIT_OWN_WALK=0 in the environment leaves every walk to libgit2.

#include <atomic>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <string_view>

#include "log_walk.h"
#include "next.h"
#include "object_cache.h"
#include "one_writer.h"
#include "progress.h"

namespace {

constexpr unsigned kChildrenFirstNewestFirst = GIT_SORT_TOPOLOGICAL | GIT_SORT_TIME;

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
  if (const int code = go_on()) return code;
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
