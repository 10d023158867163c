// libgit2's cache of objects, which costs time and memory where every object is looked at once.
#pragma once

#include <git2.h>

// Turns the cache off for as long as one of these lives. The cache has one switch for the process
// and no way to ask for its position, so the first one finds it out, and the last one sets it back.
class CacheOff {
 public:
  // By an object of a repository that is not very large.
  CacheOff(git_repository* repo, const git_oid& object);
  // By what an earlier one found.
  explicit CacheOff(bool was_on);
  ~CacheOff();
  CacheOff(const CacheOff&) = delete;
  CacheOff& operator=(const CacheOff&) = delete;

  bool was_on() const;
};
