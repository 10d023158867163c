// One process, and one thread, at a time in a repository: an advisory lock on its git folder, which
// holds among the users of this companion on one machine. Nothing is left in the folder.
#pragma once

#include <git2.h>

// Locks the repository until the end of the thread's innermost bracket. 0; or, when it was held by
// another for ten seconds, or the host did not want to wait, a negative code and libgit2's error.
// Also 0, with nothing locked, outside a bracket and where the file system knows no locks.
int lock_repository(git_repository* repo);

// Whether the thread has locked a repository.
bool is_writing();

// Locks a repository for as long as it lives, without waiting.
class ShortLock {
 public:
  explicit ShortLock(git_repository* repo);
  ~ShortLock();
  ShortLock(const ShortLock&) = delete;
  ShortLock& operator=(const ShortLock&) = delete;

  // False when another holds the lock.
  bool is_held() const { return is_held_; }

 private:
  int folder_;
  bool is_held_;
};

// The beginning and the end of a bracket in the calling thread, and the number of the latest one.
void enter_bracket();
unsigned long bracket_number();
void leave_bracket();
