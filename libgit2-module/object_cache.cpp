#include "object_cache.h"

#include <mutex>

#include "next.h"

namespace {

std::mutex mutex;
int users = 0;
bool was_on_before = false;

// An object of the cache is the same one whenever it is looked up.
bool is_cached(git_repository* repo, const git_oid& id) {
  git_object* objects[2] = {};
  for (git_object*& object : objects) git_object_lookup(&object, repo, &id, GIT_OBJECT_ANY);
  const bool is_same = objects[0] && objects[0] == objects[1];
  for (git_object* object : objects) git_object_free(object);
  return is_same;
}

// Goes past the companion's own function: nothing is to be put back at the end of the bracket.
void turn(int is_on) { NEXT(git_libgit2_opts)(GIT_OPT_ENABLE_CACHING, is_on); }

}  // namespace

CacheOff::CacheOff(git_repository* repo, const git_oid& object) {
  const std::lock_guard lock(mutex);
  if (users++ > 0) return;
  was_on_before = is_cached(repo, object);
  if (was_on_before) turn(0);
}

CacheOff::CacheOff(bool was_on) {
  const std::lock_guard lock(mutex);
  if (users++ > 0) return;
  was_on_before = was_on;
  if (was_on_before) turn(0);
}

CacheOff::~CacheOff() {
  const std::lock_guard lock(mutex);
  if (--users == 0 && was_on_before) turn(1);
}

bool CacheOff::was_on() const {
  const std::lock_guard lock(mutex);
  return was_on_before;
}
