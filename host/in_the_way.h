// Why a call could not write: lock files and unfinished rebases that another program, or a call
// that was ended in the middle, left in the repository. libgit2's messages often name no path.
#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "uwugithost/call.h"

namespace uwugit::host {

// Made before a function is called, and asked after it.
class InTheWay {
 public:
  InTheWay(Log& log, const Function& function, std::span<const Value> values);

  // When the call failed, by its answer or by an error in the log: logs an error for each thing
  // that stands in its way. Also after a success that was none because of a lock.
  void tell_after(bool is_success) const;

 private:
  void tell_disk() const;
  void tell_rebase() const;
  void tell_lock(const std::filesystem::path& file) const;

  Log& log_;
  std::size_t errors_before_;
  unsigned needed_ = 0;           // what the function needs to be free
  std::filesystem::path folder_;  // the git folder of the work tree
  std::filesystem::path common_;  // the one that it shares with other work trees
  std::filesystem::path rebase_;  // the folder of a rebase that was in progress before
  std::filesystem::path
      silent_;  // the lock with which the function does nothing and answers success
};

}  // namespace uwugit::host
