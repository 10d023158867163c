// What tells whether a file is still the one that was there before.
#pragma once

#include <sys/stat.h>

// All zero when nothing is there, or for no path.
inline struct stat look_at(const char* path) {
  struct stat found {};
  if (!path || stat(path, &found) != 0) found = {};
  return found;
}

inline bool is_same(const struct stat& left, const struct stat& right) {
  return left.st_ino == right.st_ino && left.st_dev == right.st_dev &&
         left.st_size == right.st_size && left.st_mtim.tv_sec == right.st_mtim.tv_sec &&
         left.st_mtim.tv_nsec == right.st_mtim.tv_nsec;
}
