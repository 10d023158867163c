// What a function that begins to write does first.
#pragma once

#include <git2.h>

#include "repository_lock.h"

// The lock for a call that came from outside libgit2; its code, 0 also for a call from inside, as
// libgit2 may reach the companion's functions from its own, from readers as well.
#define LOCK(repo) (is_libgit2(__builtin_return_address(0)) ? 0 : lock_repository(repo))
bool is_libgit2(const void* caller);

// A commit that the thread looked up by a name in this bracket, as that name now leads to, under
// the lock. Any other object is itself.
class Current {
 public:
  Current(git_repository* repo, const git_object* given);
  ~Current() { git_object_free(found_); }
  Current(const Current&) = delete;
  Current& operator=(const Current&) = delete;

  operator const git_object*() const { return object_; }

 private:
  const git_object* object_;
  git_object* found_ = nullptr;
};
