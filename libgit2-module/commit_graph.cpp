#include "commit_graph.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr CommitGraph::Place kNone = ~CommitGraph::Place{0};
constexpr std::size_t kFirstSlots = 1024;

bool is_same(const git_oid& left, const git_oid& right) {
  return std::memcmp(left.id, right.id, sizeof left.id) == 0;
}

}  // namespace

CommitGraph::Place CommitGraph::place_of(const git_oid& id) {
  if (2 * commits_.size() >= slots_.size()) make_room();
  Place& place = slot_of(id);
  if (place == kNone) {
    commits_.push_back({.id = id});
    place = static_cast<Place>(commits_.size() - 1);
  }
  return place;
}

void CommitGraph::add_parent(const git_oid& id) {
  const Place parent = place_of(id);
  ++commits_[parent].children;
  parents_.push_back(parent);
}

std::span<const CommitGraph::Place> CommitGraph::parents_of(Place place) const {
  const std::size_t end =
      place + 1 < commits_.size() ? commits_[place + 1].first_parent : parents_.size();
  const std::size_t begin = commits_[place].first_parent;
  return {parents_.data() + begin, end - begin};
}

// An id is a hash already.
CommitGraph::Place& CommitGraph::slot_of(const git_oid& id) {
  std::size_t slot;
  std::memcpy(&slot, id.id, sizeof slot);
  const std::size_t mask = slots_.size() - 1;
  slot &= mask;
  while (slots_[slot] != kNone && !is_same(commits_[slots_[slot]].id, id)) slot = (slot + 1) & mask;
  return slots_[slot];
}

void CommitGraph::make_room() {
  slots_.assign(std::max(kFirstSlots, 4 * slots_.size()), kNone);
  for (Place place = 0; place < commits_.size(); ++place) slot_of(commits_[place].id) = place;
}

void NewestFirst::push(git_time_t time, CommitGraph::Place place) {
  std::size_t at = waiting_.size();
  waiting_.push_back({time, place});
  for (; at > 0 && waiting_[(at - 1) / 2].time < time; at = (at - 1) / 2) {
    waiting_[at] = waiting_[(at - 1) / 2];
  }
  waiting_[at] = {time, place};
}

CommitGraph::Place NewestFirst::pop() {
  const CommitGraph::Place newest = waiting_.front().place;
  const Waiting last = waiting_.back();
  waiting_.pop_back();
  std::size_t at = 0;
  for (std::size_t below = 1; below < waiting_.size(); below = 2 * at + 1) {
    if (below + 1 < waiting_.size() && waiting_[below].time < waiting_[below + 1].time) ++below;
    if (last.time >= waiting_[below].time) break;
    waiting_[at] = waiting_[below];
    at = below;
  }
  if (!waiting_.empty()) waiting_[at] = last;
  return newest;
}
