// Memory from the host's pools.
#pragma once

#include "uwugit/host_abi.h"

namespace uwugit {

// A new pool from the host.
HostPool* create_pool(const char* name);

// A NUL-terminated copy of counted characters that lives as long as the pool.
char* copy_text(HostPool* pool, const char* characters, std::size_t length);

}  // namespace uwugit
