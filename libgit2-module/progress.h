// The host that wants to know how far the work is, and may end it.
#pragma once

#include <git2.h>

#include "repository_lock.h"
#include "uwugit/progress.h"

// Whether there is such a host.
bool is_watched();

// How far the work is, in words of the host's.
struct Progress {
  uwugit::WorkStage stage = uwugit::WorkStage::kAsBefore;
  std::uint64_t done = 0;
  std::uint64_t total = 0;
  std::uint64_t bytes = 0;
};

// Tells the host. Whether it wants the work to end, for work that has its own way to do so.
bool tell(const Progress& progress = {});

// Tells the host. 0, or GIT_EUSER with an error when the host wants the work to end, and it can.
// What holds the lock of a repository is writing there, and goes on.
int go_on(const Progress& progress = {}, bool can_end = !is_writing());

// The code of a function of libgit2, which may have failed because the host wanted it to.
inline int unless_ended(int code, bool can_end = !is_writing()) {
  return code < 0 && go_on({}, can_end) != 0 ? GIT_EUSER : code;
}
