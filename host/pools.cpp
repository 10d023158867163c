// A block is an 8-byte header (how much room it has) and its bytes, aligned to 16. Blocks are taken
// from the front of a region; the last one taken can be given back, cut or grown in place, which is
// what short-lived copies and buffers do. Other freed blocks wait in a list of their size for the
// next one that fits. Large blocks live in a region of their own that is never filled densely.
#include "uwugithost/pools.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "missing_slots.h"
#include "region.h"
#include "run.h"
#include "sanitizer.h"

namespace uwugit::host {
namespace {

constexpr std::size_t kAlignment = 16;
constexpr std::size_t kLargeBlock = 128u << 10;
constexpr std::size_t kInitialSpace = 4096 - kHeaderSize;
constexpr std::size_t kNameSpace = 48;
constexpr std::size_t kMostCached = 64;
constexpr std::size_t kExactClasses = 64;  // one for each multiple of 16 up to 1024
constexpr std::size_t kClasses = kExactClasses + 32;
constexpr std::size_t kLargestRequest = std::size_t{32} << 30;
constexpr std::size_t kMostSlack = 0x7FFFFFFF;
constexpr std::size_t kLinkSize = sizeof(void*);  // a freed block keeps the link to the next one

// Header and bytes together, so that the next header lies 8 bytes before an aligned address.
std::size_t footprint(std::size_t bytes) {
  const std::size_t whole = (bytes + kHeaderSize + kAlignment - 1) & ~(kAlignment - 1);
  return std::max(whole, 2 * kAlignment);  // room for the link
}

std::size_t size_class(std::size_t whole) {
  if (whole <= kExactClasses * kAlignment) return whole / kAlignment - 1;
  return kExactClasses + static_cast<std::size_t>(std::bit_width(whole)) - 11;
}

struct Block {
  std::uint32_t units;          // footprint in multiples of 16 bytes
  std::uint32_t is_sparse : 1;  // lies in the region of large blocks, even when it was cut since
  std::uint32_t slack : 31;     // bytes of the footprint that were not asked for
};
static_assert(sizeof(Block) == kHeaderSize);

constexpr std::size_t kPoolSlots = 32;

}  // namespace

class Pool final : public FullTable<HostPool, "pool", kPoolSlots> {
 public:
  Pool();

  static Pool* from(HostPool* handle) { return static_cast<Pool*>(handle); }

  void open(PoolService* owner, const char* pool_name);
  void* allocate_block(std::size_t wanted);
  void free(void* block);
  void* resize(void* block, std::size_t wanted);
  void close();

  std::size_t reserved() const { return dense_.reserved() + sparse_.reserved() + sizeof initial_; }

  PoolService* service = nullptr;  // null while it waits in the cache
  Pool* older = nullptr;
  Pool* newer = nullptr;
  std::size_t blocks = 0;
  std::size_t bytes = 0;
  char name[kNameSpace] = {};

 private:
  Region& region(bool is_sparse) { return is_sparse ? sparse_ : dense_; }
  std::byte* reuse(std::size_t whole);
  void keep_for_reuse(std::byte* start, std::size_t whole);
  void set_size(std::byte* start, std::size_t whole, bool is_sparse, std::size_t wanted);

  Region dense_{Density::kDense};
  Region sparse_{Density::kSparse};
  bool has_free_ = false;
  std::byte* free_[kClasses] = {};
  alignas(kAlignment) std::byte initial_[kHeaderSize + kInitialSpace + kAlignment];
};

namespace {

// Headers and links lie among bytes that the sanitizer is told to guard.
UWUGIT_UNCHECKED Block& header(std::byte* start) { return *reinterpret_cast<Block*>(start); }
UWUGIT_UNCHECKED std::size_t whole_of(std::byte* start) {
  return std::size_t{header(start).units} * kAlignment;
}
UWUGIT_UNCHECKED std::size_t bytes_of(std::byte* start) {
  return whole_of(start) - kHeaderSize - header(start).slack;
}
UWUGIT_UNCHECKED bool is_in_sparse(std::byte* start) { return header(start).is_sparse != 0; }
UWUGIT_UNCHECKED void set_header(std::byte* start, std::size_t whole, bool is_sparse,
                                 std::size_t bytes) {
  Block& block = header(start);
  block.units = static_cast<std::uint32_t>(whole / kAlignment);
  block.is_sparse = is_sparse ? 1 : 0;
  block.slack = std::min(whole - kHeaderSize - bytes, kMostSlack) & kMostSlack;
}
// A freed block keeps the link to the next one in its own first bytes.
UWUGIT_UNCHECKED std::byte* load_link(std::byte* start) {
  return *reinterpret_cast<std::byte**>(start + kHeaderSize);
}
UWUGIT_UNCHECKED void store_link(std::byte* start, std::byte* next) {
  *reinterpret_cast<std::byte**>(start + kHeaderSize) = next;
}

// A module that reads a block before it has written it must not find zeros there by luck, so builds
// for debugging fill fresh blocks. Large blocks are left out: filling would commit all their pages.
void fill_for_debugging([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) {
#ifndef NDEBUG
  if (bytes < kLargeBlock) std::memset(block, 0xA5, bytes);
#endif
}

int destroy_pool(HostPool* handle) {
  Pool* pool = Pool::from(handle);
  return pool->service ? pool->service->destroy(pool) : -1;
}
void* allocate_in_pool(HostPool* pool, std::size_t bytes, std::uint64_t) {
  return Pool::from(pool)->allocate_block(bytes);
}
void free_in_pool(HostPool* pool, void* block) { Pool::from(pool)->free(block); }
void* reallocate_in_pool(HostPool* pool, void* block, std::size_t bytes, std::uint64_t) {
  return Pool::from(pool)->resize(block, bytes);
}

}  // namespace

Pool::Pool() {
  destroy = destroy_pool;
  allocate = allocate_in_pool;
  free_block = free_in_pool;
  reallocate = reallocate_in_pool;
}

void Pool::open(PoolService* owner, const char* pool_name) {
  service = owner;
  blocks = bytes = 0;
  const std::size_t length = strnlen(pool_name, kNameSpace - 1);
  std::memcpy(name, pool_name, length);
  name[length] = '\0';
  dense_.start_with(initial_ + kHeaderSize, initial_ + kHeaderSize + kInitialSpace);
  UWUGIT_POISON(initial_, sizeof initial_);
}

void Pool::close() {
  dense_.release();
  sparse_.release();
  if (has_free_) std::fill(std::begin(free_), std::end(free_), nullptr);
  has_free_ = false;
}

void Pool::set_size(std::byte* start, std::size_t whole, bool is_sparse, std::size_t wanted) {
  set_header(start, whole, is_sparse, wanted);
  bytes += wanted;
  UWUGIT_POISON(start + kHeaderSize, whole - kHeaderSize);
  UWUGIT_UNPOISON(start + kHeaderSize, wanted);
}

void* Pool::allocate_block(std::size_t wanted) {
  if (wanted > kLargestRequest) end_run_out_of_memory(name, wanted);
  std::size_t whole = footprint(wanted);
  const bool is_sparse = whole >= kLargeBlock;
  std::byte* start = has_free_ ? reuse(whole) : nullptr;
  if (start) {
    whole = whole_of(start);
  } else {
    start = region(is_sparse).take(whole);
    if (!start) end_run_out_of_memory(name, wanted);
  }
  ++blocks;
  set_size(start, whole, is_sparse, wanted);
  fill_for_debugging(start + kHeaderSize, wanted);
  return start + kHeaderSize;
}

std::byte* Pool::reuse(std::size_t whole) {
  const std::size_t kind = size_class(whole);
  std::byte* previous = nullptr;
  for (std::byte* start = free_[kind]; start; previous = start, start = load_link(start)) {
    if (whole_of(start) < whole) continue;
    if (previous) {
      store_link(previous, load_link(start));
    } else {
      free_[kind] = load_link(start);
    }
    return start;
  }
  return nullptr;
}

void Pool::free(void* block) {
  if (!block) return;
  std::byte* start = static_cast<std::byte*>(block) - kHeaderSize;
  const std::size_t whole = whole_of(start);
  --blocks;
  bytes -= bytes_of(start);
  UWUGIT_POISON(start + kHeaderSize, whole - kHeaderSize);
  Region& home = region(is_in_sparse(start));
  if (home.is_last(start + whole)) {
    home.set_cursor(start);
  } else {
    keep_for_reuse(start, whole);
  }
}

void Pool::keep_for_reuse(std::byte* start, std::size_t whole) {
  if (whole >= kLargeBlock) Region::discard(start + kHeaderSize + kLinkSize, start + whole);
  const std::size_t kind = size_class(whole);
  store_link(start, free_[kind]);
  free_[kind] = start;
  has_free_ = true;
}

void* Pool::resize(void* block, std::size_t wanted) {
  if (!block) return allocate_block(wanted);
  if (wanted > kLargestRequest) end_run_out_of_memory(name, wanted);
  std::byte* start = static_cast<std::byte*>(block) - kHeaderSize;
  const std::size_t old_whole = whole_of(start);
  const std::size_t old_bytes = bytes_of(start);
  const std::size_t new_whole = footprint(wanted);
  const bool is_sparse = is_in_sparse(start);
  Region& home = region(is_sparse);
  if (home.is_last(start + old_whole) && home.can_grow_to(start + new_whole)) {
    home.set_cursor(start + new_whole);
    UWUGIT_POISON(start + kHeaderSize, old_whole - kHeaderSize);
    bytes -= old_bytes;
    set_size(start, new_whole, is_sparse, wanted);
    return block;
  }
  if (new_whole <= old_whole && old_whole - new_whole <= old_whole / 2) {
    bytes -= old_bytes;
    set_size(start, old_whole, is_sparse, wanted);
    return block;
  }
  void* moved = allocate_block(wanted);
  std::memcpy(moved, block, std::min(wanted, old_bytes));
  free(block);
  return moved;
}

PoolService::PoolService() = default;

PoolService::~PoolService() {
  while (Pool* pool = newest_) {
    newest_ = pool->older;
    delete pool;
  }
  for (Pool* pool : cache_) delete pool;
}

HostPool* PoolService::create(const char* name) {
  Pool* pool = nullptr;
  if (cache_.empty()) {
    pool = new Pool;
  } else {
    pool = cache_.back();
    cache_.pop_back();
  }
  pool->open(this, name);
  pool->newer = nullptr;
  pool->older = newest_;
  if (newest_) newest_->newer = pool;
  newest_ = pool;
  ++totals_.created;
  if (is_in_call_) call_pools_.push_back(pool);
  return pool;
}

int PoolService::destroy(Pool* pool) {
  if (is_in_call_) std::erase(call_pools_, pool);
  retire(pool);
  ++totals_.destroyed;
  return 0;
}

void PoolService::retire(Pool* pool) {
  pool->close();
  (pool->newer ? pool->newer->older : newest_) = pool->older;
  if (pool->older) pool->older->newer = pool->newer;
  pool->service = nullptr;
  if (cache_.size() < kMostCached) {
    cache_.push_back(pool);
  } else {
    delete pool;
  }
}

void PoolService::begin_call() { is_in_call_ = true; }

void PoolService::end_call() {
  is_in_call_ = false;
  for (Pool* pool : call_pools_) {
    if (pool->blocks > 0) continue;
    retire(pool);
    ++totals_.recycled;
  }
  call_pools_.clear();
}

PoolCounters PoolService::counters() const {
  PoolCounters counters = totals_;
  for (const Pool* pool = newest_; pool; pool = pool->older) {
    ++counters.pools;
    counters.blocks += pool->blocks;
    counters.bytes += pool->bytes;
    counters.reserved += pool->reserved();
  }
  return counters;
}

std::vector<PoolDescription> PoolService::describe() const {
  std::vector<PoolDescription> descriptions;
  for (const Pool* pool = newest_; pool; pool = pool->older) {
    descriptions.push_back({pool->name, pool->blocks, pool->bytes});
  }
  std::reverse(descriptions.begin(), descriptions.end());
  return descriptions;
}

}  // namespace uwugit::host
