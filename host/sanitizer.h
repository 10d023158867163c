// Tells the address sanitizer, when it is there, which bytes of a pool are in use.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define UWUGIT_HAS_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define UWUGIT_HAS_ASAN 1
#endif
#endif

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
