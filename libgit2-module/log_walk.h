// One walk of a history, besides libgit2's own record of it.
#pragma once

#include <git2.h>

#include <cstddef>
#include <string_view>
#include <vector>

#include "commit_graph.h"

// Any of these may throw for want of memory.
class LogWalk {
 public:
  LogWalk(const git_revwalk* revwalk, git_repository* repo) : walk(revwalk), repo_(repo) {}
  ~LogWalk();
  LogWalk(const LogWalk&) = delete;
  LogWalk& operator=(const LogWalk&) = delete;

  // Tips, found as libgit2 finds them. 0, or the code of what failed. A glob passes over the
  // references that lead to no commit.
  int push(const git_oid& id);
  int push_reference(const char* name);
  int push_glob(std::string_view glob);

  // Looks up all that the tips reach. False when libgit2 has to answer.
  bool begin();
  bool has_begun() const { return has_begun_; }

  bool is_over() const { return expected_.is_empty(); }
  void hand_out(git_oid* id);
  std::size_t count() const { return count_; }  // of those handed out

  // Whether a commit is the one that was handed out last and was not taken yet.
  bool is_turn_of(const git_repository* repo, const git_oid* id) const;
  // That commit, which is the caller's now; null when it was not kept.
  git_commit* take_kept();
  // Whether libgit2's cache was on when the walk began.
  bool has_cache() const { return has_cache_; }

  const git_revwalk* const walk;
  LogWalk* next = nullptr;    // for who keeps walks in a list
  bool is_asked_for = false;  // by the sorting

 private:
  bool look_up(CommitGraph::Place place);
  void expect(CommitGraph::Place place);

  git_repository* const repo_;
  std::size_t most_bytes_ = 0;  // that all walks may keep
  std::vector<git_oid> tips_;
  CommitGraph graph_;
  NewestFirst expected_;
  CommitGraph::Commit* handed_out_ = nullptr;
  std::size_t count_ = 0;
  bool has_begun_ = false;
  bool has_cache_ = false;
};
