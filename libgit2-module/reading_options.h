// How libgit2 reads objects, as the environment of the process wants it.
#pragma once

#include <cstddef>

// The memory that may be used for objects that are kept because they may be needed again:
// UWUGIT_CACHE_BYTES, or a quarter of what the machine has, or of what the process may use.
std::size_t memory_for_objects();

// Gives libgit2's cache that memory, and with UWUGIT_TRUST_OBJECTS=1 lets libgit2 read objects
// without comparing them with their ids. libgit2 is initialised.
void set_reading_options();
