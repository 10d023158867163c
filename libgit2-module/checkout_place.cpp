// When libgit2 (1.1 to 1.9) writes a file of a checkout, it opens what stands at the file's path.
// Named pipes, sockets and devices it does not see at all, as if nothing were there: it waits for
// ever for a reader of the pipe, and writes into the device. A symbolic link that has taken the
// place of a tracked file or folder is followed by a checkout by force (a hard reset, an abort, a
// stash): the file that it leads to is overwritten, also outside the repository.
//
// Here an empty notification callback is filled with one that looks at the place of each file just
// before the checkout begins to write. A checkout by force removes what libgit2 would write
// through, as git does; any other is refused when a named pipe, a socket or a device is in the way.

#include <unistd.h>

#include "next.h"
#include "one_writer.h"
#include "special_file.h"

namespace {

struct Checkout {
  std::string folder;
  bool is_forced;
  std::string clear_folder;  // the latest one whose path was looked at
};

int refuse(const std::string& path, const struct stat& found) {
  return fail(GIT_ERROR_CHECKOUT, "'" + path + "' is in the way: it is " + special_kind(found),
              GIT_ECONFLICT);
}

// A file or one of the folders above it.
int clear_place(const Checkout& checkout, const std::string& path, bool is_link_kept) {
  const std::string place = checkout.folder + path;
  struct stat found {};
  if (!look_at(place, &found)) return 0;
  const bool is_followed = S_ISLNK(found.st_mode) && !is_link_kept;
  if (checkout.is_forced && (is_followed || special_kind(found))) unlink(place.c_str());
  return !checkout.is_forced && special_kind(found) ? refuse(path, found) : 0;
}

int clear_way(git_checkout_notify_t, const char* path, const git_diff_file*,
              const git_diff_file* target, const git_diff_file*, void* payload) {
  auto* checkout = static_cast<Checkout*>(payload);
  const std::string file = path;
  const std::string folder = file.substr(0, file.rfind('/') + 1);
  if (folder != checkout->clear_folder) {
    for (std::size_t end = folder.find('/'); end != std::string::npos;
         end = folder.find('/', end + 1)) {
      if (const int code = clear_place(*checkout, folder.substr(0, end), false)) return code;
    }
    checkout->clear_folder = folder;
  }
  // libgit2 replaces one link by another itself.
  return clear_place(*checkout, file, target && target->mode == GIT_FILEMODE_LINK);
}

// Calls a checkout with its options, or with a copy of them that has the callback.
template <class Call>
int check_out(git_repository* repo, const git_checkout_options& given, bool is_forced, Call call) {
  constexpr unsigned kDryRun = 1u << 24;  // GIT_CHECKOUT_DRY_RUN since 1.2
  const bool is_dry = is_forced && (given.checkout_strategy & kDryRun) != 0;
  const char* folder =
      given.target_directory ? given.target_directory : git_repository_workdir(repo);
  if (given.notify_cb || is_dry || !folder) return call(&given);
  Checkout checkout = {folder + std::string("/"), is_forced, ""};
  git_checkout_options options = given;
  options.notify_flags = GIT_CHECKOUT_NOTIFY_UPDATED;
  options.notify_cb = clear_way;
  options.notify_payload = &checkout;
  return call(&options);
}

template <class Call>
int check_out(git_repository* repo, const git_checkout_options* given, Call call) {
  if (!repo || !given) return call(given);
  return check_out(repo, *given, (given->checkout_strategy & GIT_CHECKOUT_FORCE) != 0, call);
}

}  // namespace

EXPORT int git_checkout_tree(git_repository* repo, const git_object* tree,
                             const git_checkout_options* given) {
  if (const int code = LOCK(repo)) return code;
  const Current current(repo, tree);
  return check_out(repo, given, [&](const git_checkout_options* options) {
    return NEXT(git_checkout_tree)(repo, current, options);
  });
}

EXPORT int git_checkout_head(git_repository* repo, const git_checkout_options* given) {
  if (const int code = LOCK(repo)) return code;
  return check_out(repo, given, [=](const git_checkout_options* options) {
    return NEXT(git_checkout_head)(repo, options);
  });
}

EXPORT int git_checkout_index(git_repository* repo, git_index* index,
                              const git_checkout_options* given) {
  return check_out(repo, given, [=](const git_checkout_options* options) {
    return NEXT(git_checkout_index)(repo, index, options);
  });
}

// A hard reset is a checkout by force, whatever its options say.
EXPORT int git_reset(git_repository* repo, const git_object* commit, git_reset_t kind,
                     const git_checkout_options* given) {
  if (const int code = LOCK(repo)) return code;
  const auto reset = [=](const git_checkout_options* options) {
    return NEXT(git_reset)(repo, commit, kind, options);
  };
  const git_checkout_options none = GIT_CHECKOUT_OPTIONS_INIT;
  if (!repo || kind != GIT_RESET_HARD) return reset(given);
  return check_out(repo, given ? *given : none, true, reset);
}
