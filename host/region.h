// Address space for blocks: reserved in growing regions, committed by the system when written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace uwugit::host {

// Every block begins with a header of this size. A region hands its memory out so that the address
// behind the header is a multiple of 16.
inline constexpr std::size_t kHeaderSize = 8;

// Whether a region is filled densely or is left mostly untouched.
enum class Density { kDense, kSparse };

// Hands out memory from the front of a region. Not for single blocks: see Pool.
class Region {
 public:
  explicit Region(Density density) : density_(density) {}
  ~Region() { release(); }
  Region(const Region&) = delete;
  Region& operator=(const Region&) = delete;

  // Gives the region memory that it does not own, to be used up first. The address `kHeaderSize`
  // bytes behind `begin` is a multiple of 16.
  void start_with(std::byte* begin, std::byte* end);

  // The next `bytes` (a multiple of 16); null when the system has no more.
  std::byte* take(std::size_t bytes);

  // Whether the memory that ends at `end` was the last taken; then it can be cut or grown in place.
  bool is_last(const std::byte* end) const { return end == cursor_; }
  bool can_grow_to(const std::byte* end) const { return end <= end_; }
  void set_cursor(std::byte* cursor) { cursor_ = cursor; }

  std::size_t reserved() const { return reserved_; }

  // Gives the pages that lie wholly between two addresses of a region back to the system. The
  // addresses can still be used: the system commits new pages when they are written.
  static void discard(std::byte* begin, std::byte* end);

  // Gives everything back to the system.
  void release() {
    if (!mappings_.empty()) unmap();
  }

 private:
  struct Mapping {
    std::byte* begin;
    std::size_t size;
  };
  bool map(std::size_t least);
  void unmap();
  void make_ready();

  Density density_;
  std::byte* cursor_ = nullptr;
  std::byte* end_ = nullptr;
  // A dense region asks the system for its pages ahead of their use, many at once, because a page
  // fault for each costs twice as much. The pages before `ready_` have been asked for. In regions
  // that do not ask ahead it equals `end_`.
  std::byte* ready_ = nullptr;
  std::vector<Mapping> mappings_;
  std::size_t reserved_ = 0;
};

}  // namespace uwugit::host
