// libgit2 (1.1 to 1.9) opens whatever stands at a path that is to be staged, and reads it. A named
// pipe without a writer keeps it waiting for ever, and a device can be read without end.
//
// Here git_index_add_bypath refuses named pipes, sockets and devices. What stands in the place of a
// file of HEAD is the matter of checkout_place.cpp and unkept_stash.cpp.

#include "special_file.h"

#include "next.h"

const char* special_kind(const struct stat& found) {
  switch (found.st_mode & S_IFMT) {
    case S_IFIFO:
      return "a named pipe";
    case S_IFSOCK:
      return "a socket";
    case S_IFCHR:
    case S_IFBLK:
      return "a device";
    default:
      return nullptr;
  }
}

bool look_at(const std::string& path, struct stat* found) {
  return lstat(path.c_str(), found) == 0;
}

EXPORT int git_index_add_bypath(git_index* index, const char* path) {
  git_repository* repo = git_index_owner(index);
  const char* folder = repo ? git_repository_workdir(repo) : nullptr;
  struct stat found {};
  if (folder && path && look_at(folder + std::string(path), &found) && special_kind(found)) {
    return fail(GIT_ERROR_INDEX,
                std::string("cannot stage '") + path + "': it is " + special_kind(found));
  }
  return call_with_text(NEXT(git_index_add_bypath), index, path);
}
