#include "module/password.h"

#include <cstring>

#include "module/bootstrap.h"
#include "module/pool.h"
#include "module/vector_stubs.h"

namespace uwugit {
namespace {

constexpr char kDecodingPool[] = "ZKELDEC";
constexpr int kNotDecoded = -1;

// A host without password decoding leaves the slot empty, and a stub would jump into nothing.
bool has_decoder() {
  constexpr OperationNumber decoder = operation_number::omidcrp;
  const HostOperation* vector = v_global_gcb_anchor->vectors[decoder.vector];
  return vector && vector[decoder.slot];
}

}  // namespace

int zkeldec(char* buffer, std::size_t* length) {
  if (!has_decoder()) return kNotDecoded;
  HostPool* pool = create_pool(kDecodingPool);
  char* decoded = nullptr;
  std::int64_t decoded_length = 0;
  int status = omidcrp(pool, buffer, static_cast<std::int64_t>(*length), &decoded, &decoded_length);
  if (status == 0) {
    const auto size = static_cast<std::size_t>(decoded_length);
    const std::size_t capacity = kDecodedGrowth * *length;
    if (decoded_length >= 0 && size <= capacity) {
      explicit_bzero(buffer, capacity + 1);
      if (size > 0) std::memcpy(buffer, decoded, size);
      *length = size;
    } else {
      status = kNotDecoded;
    }
    if (decoded && decoded_length > 0) explicit_bzero(decoded, size);
  }
  pool->destroy(pool);
  return status;
}

}  // namespace uwugit
