// The layout of a commit graph, without any drawing. Commits come one a row, children before their
// parents, and each row is laid out from the one above it, in steps as many as there are lanes.
//
// An edge leads from a commit down to one of its parents and keeps its lane all the way. The first
// parent continues the lane of the commit, so that a branch is a straight line. The line of the
// main branch has the first lane for itself. All that goes sideways in a row belongs to the commit
// of that row: edges from its children end there, edges to further parents begin there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace uwugit::runner {

using CommitNumber = std::uint32_t;  // given by the caller; parents that are not shown have one too
inline constexpr CommitNumber kNoCommit = std::numeric_limits<CommitNumber>::max();

struct LaneRow {
  std::size_t lane = 0;  // of the commit
  // For each lane, the parent that its edge leads to, or kNoCommit for a free lane: at the upper
  // and at the lower border of the row. Both have the same length. What is the same in both passes
  // by.
  std::vector<CommitNumber> above;
  std::vector<CommitNumber> below;
  std::vector<std::size_t> from;  // lanes above that end in the commit, its own one among them
  // Lanes below that an edge of the commit goes sideways into. One that is free above begins here;
  // another one already leads to the same parent and is joined.
  std::vector<std::size_t> to;
};

class LaneLayout {
 public:
  // The main branch is the numbers for which `is_main` is true. Each of its commits must be the
  // first parent of the one before.
  explicit LaneLayout(std::vector<bool> is_main);

  // The row of the next commit. It stays until the next call.
  const LaneRow& add(CommitNumber commit, std::span<const CommitNumber> parents);

 private:
  bool is_on_main(CommitNumber commit) const {
    return commit < is_main_.size() && is_main_[commit];
  }
  bool is_free(std::size_t lane) const {
    return row_.above[lane] == kNoCommit && row_.below[lane] == kNoCommit;
  }
  void begin_row(CommitNumber commit);
  std::size_t lane_of(CommitNumber commit);
  std::size_t lane_of_tip(CommitNumber commit);
  void lead_to_first(CommitNumber parent);
  void lead_to_other(CommitNumber parent);
  std::optional<std::size_t> nearest_leading_to(CommitNumber parent) const;
  std::size_t nearest_free(CommitNumber parent);
  void add_lane();

  std::vector<bool> is_main_;
  CommitNumber main_tip_ = kNoCommit;
  std::size_t first_shared_ = 0;  // the first lane that is not the main branch's
  LaneRow row_;
  std::vector<bool> is_first_;          // of the edge below in each lane: whether to a first parent
  std::optional<std::size_t> resting_;  // the lane where the commit above has no edge below
};

// Finds the main branch of commits that are numbered by their rows, for LaneLayout: the way by
// first parents through `head`, from the topmost commit on it. Without a head it begins at the
// first row.
std::vector<bool> find_main(std::span<const CommitNumber> first_parents, CommitNumber head);

}  // namespace uwugit::runner
