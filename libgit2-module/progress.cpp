// libgit2 tells of its progress to callbacks that each caller may give, and such callbacks alone
// can end its work. Here a host, of which there is one in a process, is told by all that take long,
// whoever called them. It need not know libgit2 for this.

#include "progress.h"

#include <atomic>

#include "next.h"

namespace {

std::atomic<uwugit::ProgressFunction*> host = nullptr;
void* host_context = nullptr;

bool is_end_wanted(const Progress& progress, bool can_end) {
  uwugit::ProgressFunction* const function = host.load(std::memory_order_acquire);
  const uwugit::WorkProgress told = {progress.stage, can_end, progress.done, progress.total,
                                     progress.bytes};
  return function && function(&told, host_context) != 0;
}

}  // namespace

bool is_watched() { return host.load(std::memory_order_relaxed) != nullptr; }

bool tell(const Progress& progress) { return is_end_wanted(progress, false); }

int go_on(const Progress& progress, bool can_end) {
  if (!is_end_wanted(progress, can_end) || !can_end) return 0;
  return fail(GIT_ERROR_CALLBACK, "interrupted", GIT_EUSER);
}

EXPORT void uwugit_on_progress(uwugit::ProgressFunction* function, void* context) {
  host_context = context;
  host.store(function, std::memory_order_release);
}
