#include "graph/lanes.h"

#include <algorithm>

namespace uwugit::runner {
namespace {

// From so many open lanes on, a line whose parent another lane leads to already joins that lane at
// once. With fewer lanes it stays apart until the parent, where one sees better what it forked
// from.
constexpr std::ptrdiff_t kManyLanes = 12;

}  // namespace

LaneLayout::LaneLayout(std::vector<bool> is_main) : is_main_(std::move(is_main)) {
  const auto tip = std::find(is_main_.begin(), is_main_.end(), true);
  if (tip == is_main_.end()) return;
  main_tip_ = static_cast<CommitNumber>(tip - is_main_.begin());
  first_shared_ = 1;
}

const LaneRow& LaneLayout::add(CommitNumber commit, std::span<const CommitNumber> parents) {
  begin_row(commit);
  row_.lane = row_.from.empty() ? lane_of_tip(commit) : lane_of(commit);
  for (std::size_t i = 0; i < parents.size(); ++i) {
    const auto before = parents.first(i);
    if (std::find(before.begin(), before.end(), parents[i]) != before.end()) continue;
    if (i == 0) {
      lead_to_first(parents[i]);
    } else {
      lead_to_other(parents[i]);
    }
  }
  resting_.reset();
  if (row_.below[row_.lane] == kNoCommit) resting_ = row_.lane;
  return row_;
}

void LaneLayout::begin_row(CommitNumber commit) {
  while (!row_.below.empty() && row_.below.back() == kNoCommit) row_.below.pop_back();
  row_.above = row_.below;
  is_first_.resize(row_.below.size());
  row_.from.clear();
  row_.to.clear();
  for (std::size_t lane = 0; lane < row_.above.size(); ++lane) {
    if (row_.above[lane] != commit) continue;
    row_.from.push_back(lane);
    row_.below[lane] = kNoCommit;
  }
}

// One of the lanes that lead to the commit.
std::size_t LaneLayout::lane_of(CommitNumber commit) {
  if (is_on_main(commit)) return 0;
  const auto found = std::find_if(row_.from.begin(), row_.from.end(),
                                  [this](std::size_t lane) { return is_first_[lane]; });
  return found == row_.from.end() ? row_.from.front() : *found;
}

// A commit without children does not stand right below another one that has no edge to it, as it
// would look like its parent.
std::size_t LaneLayout::lane_of_tip(CommitNumber commit) {
  std::size_t lane = first_shared_;
  while (resting_ == lane || (lane < row_.above.size() && !is_free(lane))) ++lane;
  if (is_on_main(commit)) lane = 0;
  while (lane >= row_.above.size()) add_lane();
  return lane;
}

void LaneLayout::lead_to_first(CommitNumber parent) {
  const auto open = static_cast<std::ptrdiff_t>(row_.below.size()) -
                    std::count(row_.below.begin(), row_.below.end(), kNoCommit);
  const auto joined = nearest_leading_to(parent);
  const bool is_of_main = row_.lane < first_shared_;
  if (joined && open >= kManyLanes && !is_of_main) {
    row_.to.push_back(*joined);
    is_first_[*joined] = true;
    return;
  }
  row_.below[row_.lane] = parent;
  is_first_[row_.lane] = true;
}

void LaneLayout::lead_to_other(CommitNumber parent) {
  const auto joined = nearest_leading_to(parent);
  const std::size_t lane = joined ? *joined : nearest_free(parent);
  if (!joined) is_first_[lane] = false;
  row_.below[lane] = parent;
  row_.to.push_back(lane);
}

std::optional<std::size_t> LaneLayout::nearest_leading_to(CommitNumber parent) const {
  for (std::size_t distance = 1; distance < row_.below.size(); ++distance) {
    const std::size_t right = row_.lane + distance;
    if (right < row_.below.size() && row_.below[right] == parent) return right;
    if (distance <= row_.lane && row_.below[row_.lane - distance] == parent) {
      return row_.lane - distance;
    }
  }
  return std::nullopt;
}

std::size_t LaneLayout::nearest_free(CommitNumber parent) {
  if (parent == main_tip_ && row_.lane > 0) return 0;
  for (std::size_t distance = 1;; ++distance) {
    const std::size_t right = row_.lane + distance;
    if (right == row_.below.size()) add_lane();
    if (is_free(right)) return right;
    if (distance + first_shared_ <= row_.lane && is_free(row_.lane - distance)) {
      return row_.lane - distance;
    }
  }
}

void LaneLayout::add_lane() {
  row_.above.push_back(kNoCommit);
  row_.below.push_back(kNoCommit);
  is_first_.push_back(false);
}

std::vector<bool> find_main(std::span<const CommitNumber> first_parents, CommitNumber head) {
  std::vector<bool> is_main(first_parents.size());
  if (first_parents.empty()) return is_main;
  CommitNumber top = head < first_parents.size() ? head : 0;
  std::vector<bool> leads_there(first_parents.size());
  leads_there[top] = true;
  for (CommitNumber row = top; row-- > 0;) {
    const CommitNumber parent = first_parents[row];
    if (parent >= first_parents.size() || !leads_there[parent]) continue;
    leads_there[row] = true;
    top = row;
  }
  for (; top < first_parents.size(); top = first_parents[top]) is_main[top] = true;
  return is_main;
}

}  // namespace uwugit::runner
