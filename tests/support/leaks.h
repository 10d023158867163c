// For calls that cannot release what they made, because the test took the release function away, or
// because libgit2 1.5 does not: it leaks with each SSH connection.
#pragma once

#include <optional>
#include <string_view>

#ifdef UWUGIT_HAS_ASAN
#include <sanitizer/lsan_interface.h>
namespace uwugit::test {
using LeaksOnPurpose = __lsan::ScopedDisabler;
}
#else
namespace uwugit::test {
struct [[maybe_unused]] LeaksOnPurpose {
  LeaksOnPurpose() {}
};
}  // namespace uwugit::test
#endif

namespace uwugit::test {
struct LeaksOverSsh {
  explicit LeaksOverSsh(std::string_view url) {
    if (url.starts_with("ssh:")) leaks.emplace();
  }
  std::optional<LeaksOnPurpose> leaks;
};
}  // namespace uwugit::test
