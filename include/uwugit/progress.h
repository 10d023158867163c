// What the companion tells a host about work of libgit2 that takes long, and how the host ends such
// work. The companion exports a ProgressRegistration for hosts that want to know. Without one, and
// with any other libgit2, nothing is told.
#pragma once

#include <cstddef>
#include <cstdint>

namespace uwugit {

// What is counted.
enum class WorkStage : std::int32_t {
  kAsBefore = 0,     // nothing new to count
  kReading = 1,      // commits of a history
  kComparing = 2,    // files
  kReceiving = 3,    // objects
  kResolving = 4,    // deltas of what was received
  kCheckingOut = 5,  // files
  kPacking = 6,      // objects
  kSending = 7,      // objects
  kWaiting = 8,      // nothing, but for another process to leave the repository
};

struct WorkProgress {
  WorkStage stage;
  std::int32_t can_end;  // 0: the work is finished, whatever is answered
  std::uint64_t done;
  std::uint64_t total;  // 0 where it is not known
  std::uint64_t bytes;  // received or sent by now
};
static_assert(offsetof(WorkProgress, can_end) == 4);
static_assert(offsetof(WorkProgress, done) == 8);
static_assert(offsetof(WorkProgress, total) == 16);
static_assert(offsetof(WorkProgress, bytes) == 24);
static_assert(sizeof(WorkProgress) == 32);

// Is told the progress, in the thread that works and up to a million times a second, and answers 0.
// Any other answer ends the work where it can be ended: libgit2's function fails with GIT_EUSER. It
// throws nothing and calls nothing of libgit2.
using ProgressFunction = int(const WorkProgress* progress, void* context);

// Tells the function from now on; null: nobody any longer. Not while libgit2 is at work.
using ProgressRegistration = void(ProgressFunction* function, void* context);
inline constexpr char kProgressRegistration[] = "uwugit_on_progress";

}  // namespace uwugit
