// Tells the address sanitizer, when it is there (the build says so), which bytes of a pool are in
// use.
#pragma once

#ifdef UWUGIT_HAS_ASAN
#include <sanitizer/asan_interface.h>
#define UWUGIT_POISON(memory, size) __asan_poison_memory_region(memory, size)
#define UWUGIT_UNPOISON(memory, size) __asan_unpoison_memory_region(memory, size)
#define UWUGIT_UNCHECKED __attribute__((no_sanitize("address")))
#else
#define UWUGIT_POISON(memory, size) static_cast<void>(0)
#define UWUGIT_UNPOISON(memory, size) static_cast<void>(0)
#define UWUGIT_UNCHECKED
#endif
