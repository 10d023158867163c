// What libgit2, its TLS library and the companion read once, when libgit2 starts.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>

// Where the configuration lies, the trusted authorities, and how objects are read.
class StartState {
 public:
  void take();
  // Whether libgit2 would read the same if it started now.
  bool is_current() const;

 private:
  static constexpr std::size_t kValues = 6;
  static constexpr std::size_t kFiles = 6;

  std::array<std::optional<std::string>, kValues> values_;
  std::array<struct stat, kFiles> files_{};
};
