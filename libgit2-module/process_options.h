// libgit2's process-wide options, and putting them back.
#pragma once

#include <bitset>
#include <cstdarg>
#include <cstddef>

// Passes an option with its arguments on to libgit2.
int forward_option(int option, va_list arguments);

// Whether an option cannot be set, because its value would not outlive a shutdown of libgit2.
bool is_refused_option(int option);

// Whether an option sets something. One that is not known here counts as setting.
bool is_changing_option(int option);

// Which options were set, and their values from before. libgit2's own shutdown resets some of them
// (search paths, certificate locations, extensions); the others are plain variables of the library,
// and are set back here.
class ProcessOptions {
 public:
  // Takes the initial values, once. libgit2 is initialised.
  void remember();
  void note_change(int option);
  bool has_changes() const { return changed_.any(); }
  // Sets back what was changed. libgit2 is down.
  void restore();

 private:
  // libgit2 1.9 has fewer options. The last place stands for all options of higher numbers.
  static constexpr std::size_t kMostOptions = 64;
  static constexpr std::size_t kMostReadable = 9;

  std::bitset<kMostOptions> changed_;
  bool has_values_ = false;
  std::size_t values_[kMostReadable] = {};
};
