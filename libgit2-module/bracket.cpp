// The companion git module: what a host's loader answers for the name "libgit2". It depends on the
// distribution's libgit2, whose functions are found through it, and stands in front of three of
// them.
//
// A program that brackets each piece of work with git_libgit2_init and git_libgit2_shutdown pays
// for libgit2 coming up and going down every time. Here libgit2 stays up between brackets, and each
// bracket is made to look like the first: the thread's error is cleared at its end, and libgit2 is
// taken down and comes up fresh when the bracket changed a process-wide option, or when what
// libgit2 reads at its start has changed since.

#include <dlfcn.h>
#include <git2.h>
#if __has_include(<git2/sys/errors.h>)
#include <git2/sys/errors.h>  // has git_error_clear from 1.8 on
#endif
#include <sys/stat.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>

#include "process_options.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int real_init() { return next<decltype(git_libgit2_init)>("git_libgit2_init")(); }
int real_shutdown() { return next<decltype(git_libgit2_shutdown)>("git_libgit2_shutdown")(); }

std::optional<std::string> environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::optional<std::string>(value) : std::nullopt;
}

bool is_same(const std::optional<std::string>& kept, const char* name) {
  const char* value = std::getenv(name);
  return value ? kept && *kept == value : !kept;
}

// What libgit2 reads once, when it starts: where its configuration lies, and the trusted
// authorities.
class StartState {
 public:
  void take() {
    home_ = environment("HOME");
    config_home_ = environment("XDG_CONFIG_HOME");
    bundle_ = stat_bundle();
  }

  bool is_current() const {
    return is_same(home_, "HOME") && is_same(config_home_, "XDG_CONFIG_HOME") &&
           is_same_file(stat_bundle(), bundle_);
  }

 private:
  static constexpr const char* kBundle = "/etc/ssl/certs/ca-certificates.crt";

  static struct stat stat_bundle() {
    struct stat found {};
    if (stat(kBundle, &found) != 0) found = {};
    return found;
  }

  static bool is_same_file(const struct stat& left, const struct stat& right) {
    return left.st_ino == right.st_ino && left.st_dev == right.st_dev &&
           left.st_size == right.st_size && left.st_mtim.tv_sec == right.st_mtim.tv_sec &&
           left.st_mtim.tv_nsec == right.st_mtim.tv_nsec;
  }

  std::optional<std::string> home_;
  std::optional<std::string> config_home_;
  struct stat bundle_ {};
};

class Libgit2 {
 public:
  int open_bracket() {
    const std::lock_guard lock(mutex_);
    if (depth_ == 0 && is_up_ && (options_.has_changes() || !start_.is_current())) take_down();
    if (!is_up_) {
      if (const int count = real_init(); count < 0) return count;
      is_up_ = true;
      start_.take();
      options_.remember();
    }
    return ++depth_;
  }

  int close_bracket() {
    const std::lock_guard lock(mutex_);
    if (depth_ == 0) return 0;
    if (--depth_ > 0) return depth_;
    git_error_clear();
    if (options_.has_changes()) take_down();
    return 0;
  }

  void note_change(int option) {
    const std::lock_guard lock(mutex_);
    options_.note_change(option);
  }

 private:
  void take_down() {
    real_shutdown();
    is_up_ = false;
    options_.restore();
  }

  std::mutex mutex_;
  int depth_ = 0;
  bool is_up_ = false;
  StartState start_;
  ProcessOptions options_;
};

// Lives as long as the process: whoever still holds a bracket at its end may use it.
Libgit2& libgit2() {
  static auto* instance = new Libgit2;
  return *instance;
}

}  // namespace

EXPORT int git_libgit2_init() { return libgit2().open_bracket(); }

EXPORT int git_libgit2_shutdown() { return libgit2().close_bracket(); }

EXPORT int git_libgit2_opts(int option, ...) {
  constexpr int refused = -1;
  if (is_refused_option(option)) return refused;
  va_list arguments;
  va_start(arguments, option);
  const int code = forward_option(option, arguments);
  va_end(arguments);
  if (is_changing_option(option)) libgit2().note_change(option);
  return code;
}
