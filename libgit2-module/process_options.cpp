#include "process_options.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "next.h"

namespace {

decltype(&git_libgit2_opts) real_opts() {
  static auto* const function = NEXT(git_libgit2_opts);
  return function;
}

constexpr int kReadingOptions[] = {
    GIT_OPT_GET_MWINDOW_SIZE,
    GIT_OPT_GET_MWINDOW_MAPPED_LIMIT,
    GIT_OPT_GET_SEARCH_PATH,
    GIT_OPT_GET_CACHED_MEMORY,
    GIT_OPT_GET_TEMPLATE_PATH,
    GIT_OPT_GET_USER_AGENT,
    GIT_OPT_GET_WINDOWS_SHAREMODE,
    GIT_OPT_GET_PACK_MAX_OBJECTS,
    GIT_OPT_GET_MWINDOW_FILE_LIMIT,
    GIT_OPT_GET_EXTENSIONS,
    GIT_OPT_GET_OWNER_VALIDATION,
#if HAS_SERVER_TIMEOUT
    GIT_OPT_GET_HOMEDIR,
    GIT_OPT_GET_SERVER_CONNECT_TIMEOUT,
    GIT_OPT_GET_SERVER_TIMEOUT,
#endif
#if HAS_USER_AGENT_PRODUCT
    GIT_OPT_GET_USER_AGENT_PRODUCT,
#endif
#if HAS_PACK_MAX_OBJECT_SIZE
    GIT_OPT_GET_PACK_MAX_OBJECT_SIZE,
#endif
};

// libgit2 frees these when it shuts down, and goes on using them when it comes up again.
constexpr int kRefusedOptions[] = {
    GIT_OPT_SET_USER_AGENT,
    GIT_OPT_SET_SSL_CIPHERS,
#if HAS_USER_AGENT_PRODUCT
    GIT_OPT_SET_USER_AGENT_PRODUCT,
#endif
};

struct ReadableOption {
  int get;
  int set;
};
constexpr ReadableOption kReadableOptions[] = {
    {GIT_OPT_GET_MWINDOW_SIZE, GIT_OPT_SET_MWINDOW_SIZE},
    {GIT_OPT_GET_MWINDOW_MAPPED_LIMIT, GIT_OPT_SET_MWINDOW_MAPPED_LIMIT},
    {GIT_OPT_GET_MWINDOW_FILE_LIMIT, GIT_OPT_SET_MWINDOW_FILE_LIMIT},
    {GIT_OPT_GET_PACK_MAX_OBJECTS, GIT_OPT_SET_PACK_MAX_OBJECTS},
    {GIT_OPT_GET_OWNER_VALIDATION, GIT_OPT_SET_OWNER_VALIDATION},
    {GIT_OPT_GET_CACHED_MEMORY, GIT_OPT_SET_CACHE_MAX_SIZE},
#if HAS_SERVER_TIMEOUT
    {GIT_OPT_GET_SERVER_CONNECT_TIMEOUT, GIT_OPT_SET_SERVER_CONNECT_TIMEOUT},
    {GIT_OPT_GET_SERVER_TIMEOUT, GIT_OPT_SET_SERVER_TIMEOUT},
#endif
#if HAS_PACK_MAX_OBJECT_SIZE
    {GIT_OPT_GET_PACK_MAX_OBJECT_SIZE, GIT_OPT_SET_PACK_MAX_OBJECT_SIZE},
#endif
};

// Options that can be set but not read, with libgit2's documented or built-in defaults.
struct SwitchOption {
  int set;
  int value;
};
constexpr SwitchOption kSwitchOptions[] = {
    {GIT_OPT_ENABLE_CACHING, 1},
    {GIT_OPT_ENABLE_STRICT_OBJECT_CREATION, 1},
    {GIT_OPT_ENABLE_STRICT_SYMBOLIC_REF_CREATION, 1},
    {GIT_OPT_ENABLE_OFS_DELTA, 1},
    {GIT_OPT_ENABLE_FSYNC_GITDIR, 0},
    {GIT_OPT_ENABLE_STRICT_HASH_VERIFICATION, 1},
    {GIT_OPT_ENABLE_UNSAVED_INDEX_SAFETY, 0},
    {GIT_OPT_DISABLE_PACK_KEEP_FILE_CHECKS, 0},
    {GIT_OPT_ENABLE_HTTP_EXPECT_CONTINUE, 0},
    {GIT_OPT_SET_ODB_LOOSE_PRIORITY, 1},
    {GIT_OPT_SET_ODB_PACKED_PRIORITY, 2},
};

struct CacheLimit {
  git_object_t type;
  std::size_t bytes;
};
constexpr CacheLimit kCacheLimits[] = {
    {GIT_OBJECT_COMMIT, 4096},
    {GIT_OBJECT_TREE, 4096},
    {GIT_OBJECT_BLOB, 0},
    {GIT_OBJECT_TAG, 4096},
};

template <std::size_t n>
bool is_one_of(const int (&options)[n], int option) {
  return std::find(std::begin(options), std::end(options), option) != std::end(options);
}

}  // namespace

int forward_option(int option, va_list arguments) {
  // Every option takes at most three arguments, each an integer or a pointer: one register each.
  const auto first = va_arg(arguments, std::uintptr_t);
  const auto second = va_arg(arguments, std::uintptr_t);
  const auto third = va_arg(arguments, std::uintptr_t);
  return real_opts()(option, first, second, third);
}

bool is_refused_option(int option) { return is_one_of(kRefusedOptions, option); }

bool is_changing_option(int option) { return !is_one_of(kReadingOptions, option); }

void ProcessOptions::remember() {
  static_assert(std::size(kReadableOptions) <= kMostReadable);
  if (has_values_) return;
  has_values_ = true;
  for (std::size_t i = 0; i < std::size(kReadableOptions); ++i) {
    if (kReadableOptions[i].get == GIT_OPT_GET_CACHED_MEMORY) {
      std::size_t used = 0;  // it answers the memory in use and then the limit
      real_opts()(GIT_OPT_GET_CACHED_MEMORY, &used, &values_[i]);
    } else {
      real_opts()(kReadableOptions[i].get, &values_[i]);
    }
  }
}

void ProcessOptions::note_change(int option) {
  const auto number = static_cast<std::size_t>(option);
  changed_.set(std::min(number, kMostOptions - 1));
}

void ProcessOptions::restore() {
  const auto is_changed = [this](int option) {
    return changed_.test(static_cast<std::size_t>(option));
  };
  for (std::size_t i = 0; i < std::size(kReadableOptions); ++i) {
    if (is_changed(kReadableOptions[i].set)) real_opts()(kReadableOptions[i].set, values_[i]);
  }
  for (const SwitchOption& option : kSwitchOptions) {
    if (is_changed(option.set)) real_opts()(option.set, option.value);
  }
  if (is_changed(GIT_OPT_SET_CACHE_OBJECT_LIMIT)) {
    for (const CacheLimit& limit : kCacheLimits) {
      real_opts()(GIT_OPT_SET_CACHE_OBJECT_LIMIT, limit.type, limit.bytes);
    }
  }
  if (is_changed(GIT_OPT_SET_ALLOCATOR)) {
    real_opts()(GIT_OPT_SET_ALLOCATOR, static_cast<void*>(nullptr));
  }
  changed_.reset();
}
