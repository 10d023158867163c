// Standing in front of a function of libgit2.
#pragma once

#include <dlfcn.h>
#include <git2.h>
#if __has_include(<git2/sys/errors.h>)
#include <git2/sys/errors.h>  // has git_error_clear and git_error_set_str from 1.8 on
#endif

#define EXPORT extern "C" __attribute__((visibility("default")))

// libgit2's own function of that name.
#define NEXT(name)                                                                           \
  ([] {                                                                                      \
    static auto* const found = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name)); \
    return found;                                                                            \
  }())
