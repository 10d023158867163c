// The functions of the libgit2 behind the companion.
#pragma once

#include <dlfcn.h>
#include <git2.h>

// libgit2's own function of that name, also where the companion has one of the same name.
#define NEXT_FUNCTION(name) reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))
