// For calls that cannot release what they made, because the test took the release function away, or
// whose leak is a library's own.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
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
