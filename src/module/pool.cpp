#include "module/pool.h"

#include <cstring>

#include "module/bootstrap.h"

namespace uwugit {

HostPool* create_pool(const char* name) {
  const PoolAttributes attributes{};
  return Exported_TKHandle->create_pool(Exported_TKHandle, &attributes, 0, name);
}

char* copy_text(HostPool* pool, const char* characters, std::size_t length) {
  auto* copy = static_cast<char*>(pool->allocate(pool, length + 1, 0));
  if (length > 0) std::memcpy(copy, characters, length);
  copy[length] = '\0';
  return copy;
}

}  // namespace uwugit
