#include "repository_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "next.h"
#include "progress.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr seconds kLongestWait{10};
constexpr milliseconds kBetweenTries{1};
constexpr char kHeldByAnother[] = "another process is working in this repository";

struct Lock {
  int folder;   // the opened git folder
  int bracket;  // how deep the bracket is that ends it
  dev_t device;
  ino_t file;
  Lock* outer;
};

// Of one thread. Plain, so that the companion can be unloaded while the thread lives.
thread_local int depth = 0;
thread_local unsigned long number = 0;
thread_local Lock* latest = nullptr;

// The folder that a repository shares with its other work trees: the branches are in it. -1 when it
// cannot be opened.
int open_folder(git_repository* repo, struct stat* found) {
  const char* path = repo ? git_repository_commondir(repo) : nullptr;
  const int folder = path ? open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
  if (folder >= 0 && fstat(folder, found) == 0) return folder;
  if (folder >= 0) close(folder);
  return -1;
}

bool is_locked_here(const struct stat& folder) {
  for (const Lock* lock = latest; lock; lock = lock->outer) {
    if (lock->device == folder.st_dev && lock->file == folder.st_ino) return true;
  }
  return false;
}

// False only when another holds the lock.
bool try_to_lock(int folder) {
  return flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

// 0, or a negative code and libgit2's error.
int wait_for_lock(int folder) {
  const auto end = steady_clock::now() + kLongestWait;
  while (!try_to_lock(folder)) {
    if (steady_clock::now() >= end) return fail(GIT_ERROR_REPOSITORY, kHeldByAnother, GIT_ELOCKED);
    if (const int code = go_on({uwugit::WorkStage::kWaiting, 0, 0, 0})) return code;
    std::this_thread::sleep_for(kBetweenTries);
  }
  return 0;
}

}  // namespace

int lock_repository(git_repository* repo) {
  if (depth == 0) return 0;
  struct stat found {};
  const int folder = open_folder(repo, &found);
  if (folder < 0) return 0;
  if (is_locked_here(found)) {
    close(folder);
    return 0;
  }
  if (const int code = wait_for_lock(folder)) {
    close(folder);
    return code;
  }
  latest = new Lock{folder, depth, found.st_dev, found.st_ino, latest};
  return 0;
}

bool is_writing() { return latest != nullptr; }

ShortLock::ShortLock(git_repository* repo) {
  struct stat found {};
  folder_ = open_folder(repo, &found);
  is_held_ = folder_ < 0 || is_locked_here(found) || try_to_lock(folder_);
}

ShortLock::~ShortLock() {
  if (folder_ >= 0) close(folder_);
}

void enter_bracket() {
  ++depth;
  ++number;
}

unsigned long bracket_number() { return number; }

void leave_bracket() {
  while (latest && latest->bracket >= depth) {
    const Lock* ended = latest;
    latest = ended->outer;
    close(ended->folder);
    delete ended;
  }
  if (depth > 0) --depth;
}
