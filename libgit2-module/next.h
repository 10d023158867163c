// What the files share that stand in front of libgit2's functions.
#pragma once

#include <dlfcn.h>
#include <git2.h>
#if __has_include(<git2/sys/errors.h>)
#include <git2/sys/errors.h>  // since 1.8 what sets and clears errors is here
#endif

#include <cerrno>
#include <cstring>
#include <string>

#define EXPORT extern "C" __attribute__((visibility("default")))

// The function of that name that the companion's one stands in front of. libgit2's calls of its own
// exported functions reach the companion as well, unless it was linked with -Bsymbolic-functions.
#define NEXT(name)                                                                              \
  ([] {                                                                                         \
    static auto* const function = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name)); \
    return function;                                                                            \
  }())

// libgit2's record of the thread's error, null when there is none.
inline const git_error* last_error() {
  const git_error* error = git_error_last();
  return error && error->klass != GIT_ERROR_NONE ? error : nullptr;
}

// Makes a call fail with a text of our own.
inline int fail(int error_class, const std::string& text, int code = GIT_ERROR) {
  git_error_set_str(error_class, text.c_str());
  return code;
}

// Calls a function of libgit2. Where it fails without a text, as writes to a full disk do, the text
// is that of the system's error number.
template <class Function, class... Given>
int call_with_text(Function* function, Given... given) {
  git_error_clear();
  errno = 0;
  const int code = function(given...);
  if (code < 0 && errno != 0 && !last_error()) git_error_set_str(GIT_ERROR_OS, strerror(errno));
  return code;
}
