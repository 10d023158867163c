#include "region.h"

#include <sys/mman.h>

#include <algorithm>
#include <utility>

#include "sanitizer.h"

namespace uwugit::host {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kHugePage = 2u << 20;
// A pool that has come to a mapping of this size holds a third of it already, beside which the
// unused part of its last huge page counts little. Reading such a pool in random order takes the
// processor less time then, because it has fewer addresses to translate.
constexpr std::size_t kLeastInHugePages = 16u << 20;
constexpr std::size_t kReadiedAtOnce = 256u << 10;
constexpr std::size_t kLeastReadied = 1u << 20;  // smaller mappings are not worth a call
#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23  // of Linux 5.14; older ones refuse it, and pages come one by one
#endif
constexpr std::size_t kFirstMapping = 64u << 10;
constexpr std::size_t kLargestDense = 64u << 20;
constexpr std::size_t kLargestSparse = 1u << 30;

std::byte* reserve(std::size_t bytes) {
  void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return memory == MAP_FAILED ? nullptr : static_cast<std::byte*>(memory);
}

// The last mapping that a sparse region of this thread gave back, for the next one: who lists many
// small diffs would map and unmap the same memory, and touch its first pages anew, for each.
struct SpareMapping {
  static constexpr std::size_t kLargest = 8u << 20;

  ~SpareMapping() {
    if (begin) munmap(begin, size);
  }

  std::byte* begin = nullptr;
  std::size_t size = 0;
};
thread_local SpareMapping spare;

// Null when there is none of that size.
std::byte* take_spare(std::size_t size) {
  return size == spare.size ? std::exchange(spare.begin, nullptr) : nullptr;
}

bool become_spare(std::byte* begin, std::size_t size) {
  if (spare.begin || size > SpareMapping::kLargest) return false;
  spare.begin = begin;
  spare.size = size;
  return true;
}

}  // namespace

void Region::start_with(std::byte* begin, std::byte* end) {
  cursor_ = begin;
  end_ = ready_ = end;
}

std::byte* Region::take(std::size_t bytes) {
  if (static_cast<std::size_t>(end_ - cursor_) < bytes && !map(bytes)) return nullptr;
  std::byte* taken = cursor_;
  cursor_ += bytes;
  if (cursor_ > ready_) make_ready();
  return taken;
}

void Region::make_ready() {
  const auto behind = static_cast<std::size_t>(end_ - ready_);
  const std::size_t size = std::min(behind, kReadiedAtOnce);
  madvise(ready_, size, MADV_POPULATE_WRITE);
  ready_ += size;
}

bool Region::map(std::size_t least) {
  const std::size_t largest = density_ == Density::kDense ? kLargestDense : kLargestSparse;
  const std::size_t wanted =
      mappings_.empty() ? kFirstMapping : std::min(largest, mappings_.back().size * 4);
  const std::size_t needed = (kHeaderSize + least + kPage - 1) & ~(kPage - 1);
  std::size_t size = std::max(needed, wanted);
  const bool is_dense = density_ == Density::kDense;
  std::byte* const spare_memory = is_dense ? nullptr : take_spare(size);
  std::byte* memory = spare_memory ? spare_memory : reserve(size);
  if (!memory && size > needed) memory = reserve(size = needed);
  if (!memory) return false;
  if (!is_dense && !spare_memory && size >= kHugePage) madvise(memory, size, MADV_NOHUGEPAGE);
  if (is_dense && size >= kLeastInHugePages) madvise(memory, size, MADV_HUGEPAGE);
  mappings_.push_back({memory, size});
  reserved_ += size;
  cursor_ = memory + kHeaderSize;
  end_ = memory + size;
  ready_ = is_dense && size >= kLeastReadied ? memory : end_;
  UWUGIT_POISON(memory, size);
  return true;
}

void Region::discard(std::byte* begin, std::byte* end) {
  const auto from = (reinterpret_cast<std::uintptr_t>(begin) + kPage - 1) & ~(kPage - 1);
  const auto to = reinterpret_cast<std::uintptr_t>(end) & ~(kPage - 1);
  if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_DONTNEED);
}

void Region::unmap() {
  for (const Mapping& mapping : mappings_) {
    UWUGIT_UNPOISON(mapping.begin, mapping.size);
    const bool is_sparse = density_ == Density::kSparse;
    if (is_sparse && become_spare(mapping.begin, mapping.size)) continue;
    munmap(mapping.begin, mapping.size);
  }
  mappings_.clear();
  reserved_ = 0;
  cursor_ = end_ = ready_ = nullptr;
}

}  // namespace uwugit::host
