// What libgit2 and its TLS library read once, when libgit2 starts.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>

// Where the configuration lies, and the trusted authorities.
class StartState {
 public:
  void take();
  // Whether libgit2 would read the same if it started now.
  bool is_current() const;

 private:
  static constexpr std::size_t kValues = 4;
  static constexpr std::size_t kFiles = 6;

  std::array<std::optional<std::string>, kValues> values_;
  std::array<struct stat, kFiles> files_{};
};
