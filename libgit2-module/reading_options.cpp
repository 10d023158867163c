// libgit2's cache of objects holds 256 MB. A history whose commits need more is inflated twice and
// takes half as long again. Most machines can do better.

#include "reading_options.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string_view>

#include "next.h"

namespace {

constexpr std::size_t kLargestTree = std::size_t{1} << 20;

std::size_t memory_of_machine() {
  return static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
         static_cast<std::size_t>(sysconf(_SC_PAGE_SIZE));
}

// Of the control group: what a container may use.
std::size_t memory_of_group() {
  std::size_t bytes = 0;
  std::ifstream limit("/sys/fs/cgroup/memory.max");
  return limit >> bytes ? bytes : SIZE_MAX;  // it may also say "max"
}

}  // namespace

std::size_t memory_for_objects() {
  const char* given = std::getenv("UWUGIT_CACHE_BYTES");
  const std::string_view text = given ? given : "";
  std::size_t bytes = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), bytes);
  if (!text.empty() && read.ec == std::errc() && read.ptr == text.data() + text.size()) {
    return bytes;
  }
  return std::min(memory_of_machine(), memory_of_group()) / 4;
}

void set_reading_options() {
  const char* trust = std::getenv("UWUGIT_TRUST_OBJECTS");
  const int is_verified = !trust || std::string_view(trust) != "1";
  NEXT(git_libgit2_opts)(GIT_OPT_SET_CACHE_MAX_SIZE, memory_for_objects());
  NEXT(git_libgit2_opts)(GIT_OPT_SET_CACHE_OBJECT_LIMIT, GIT_OBJECT_TREE, kLargestTree);
  NEXT(git_libgit2_opts)(GIT_OPT_ENABLE_STRICT_HASH_VERIFICATION, is_verified);
}
