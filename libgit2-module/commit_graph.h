// Commits and their parents without anything else, as a walk needs them: a few flat tables.
#pragma once

#include <git2.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class CommitGraph {
 public:
  using Place = std::uint32_t;  // of a commit, from 0 on, in the order in which they were found
  struct Commit {
    git_oid id;
    std::uint32_t first_parent = 0;  // its own parents begin there among all parents
    std::uint32_t children = 0;      // as often as it is named as a parent
    std::uint32_t size = 0;          // for who keeps something
    git_time_t time = 0;
    git_commit* kept = nullptr;
  };

  // The place of a commit, which is the last one when it is new.
  Place place_of(const git_oid& id);
  // The parents of a commit follow each other, and those of the commits follow in their order.
  void add_parent(const git_oid& id);

  std::size_t size() const { return commits_.size(); }
  // The reference is good until a commit is added.
  Commit& operator[](Place place) { return commits_[place]; }
  std::size_t count_parents() const { return parents_.size(); }
  std::span<const Place> parents_of(Place place) const;

 private:
  Place& slot_of(const git_oid& id);
  void make_room();

  std::vector<Commit> commits_;
  std::vector<Place> parents_;
  std::vector<Place> slots_;  // a hash table
};

// Commits that wait, the newest first. This is libgit2's heap step by step, so that commits of the
// same time leave it in the same order.
class NewestFirst {
 public:
  bool is_empty() const { return waiting_.empty(); }
  void push(git_time_t time, CommitGraph::Place place);
  CommitGraph::Place pop();

 private:
  struct Waiting {
    git_time_t time;
    CommitGraph::Place place;
  };
  std::vector<Waiting> waiting_;
};
