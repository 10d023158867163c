#include "log_walk.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "next.h"
#include "object_cache.h"
#include "progress.h"
#include "reading_options.h"

namespace {

using Place = CommitGraph::Place;

constexpr Place kBetweenNews = 1000;      // commits
constexpr unsigned kMostParents = 65535;  // libgit2 walks past no commit with more

// Of the commits of all walks that wait for their turn.
std::atomic<std::size_t> bytes_in_use = 0;

// About what libgit2's record of a commit takes: names and addresses are copied out of the header.
std::uint32_t size_of(const git_commit* commit) {
  constexpr std::size_t records = 400;
  const std::size_t size = records + 2 * std::strlen(git_commit_raw_header(commit)) +
                           std::strlen(git_commit_message_raw(commit));
  return static_cast<std::uint32_t>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

void keep(CommitGraph::Commit& place, git_commit* commit) {
  place.kept = commit;
  place.size = size_of(commit);
  bytes_in_use += place.size;
}

// Null when nothing is kept.
git_commit* take(CommitGraph::Commit& place) {
  if (place.kept) bytes_in_use -= place.size;
  return std::exchange(place.kept, nullptr);
}

// Of the memory for objects, what libgit2's cache does not use.
std::size_t memory_left() {
  std::size_t used = 0;
  std::size_t allowed = 0;
  NEXT(git_libgit2_opts)(GIT_OPT_GET_CACHED_MEMORY, &used, &allowed);
  return std::max(memory_for_objects(), used) - used;
}

// libgit2 (since 1.7) begins with the tip that was pushed last, and before with the first.
bool is_last_tip_first() {
  int major = 0;
  int minor = 0;
  int revision = 0;
  git_libgit2_version(&major, &minor, &revision);
  return major > 1 || minor >= 7;
}

}  // namespace

LogWalk::~LogWalk() {
  for (Place place = 0; place < graph_.size(); ++place) git_commit_free(take(graph_[place]));
}

int LogWalk::push(const git_oid& id) {
  git_object* object = nullptr;
  git_object* commit = nullptr;
  int code = git_object_lookup(&object, repo_, &id, GIT_OBJECT_ANY);
  if (code == 0) code = git_object_peel(&commit, object, GIT_OBJECT_COMMIT);
  const git_oid tip = code == 0 ? *git_object_id(commit) : git_oid{};
  git_object_free(commit);
  git_object_free(object);
  if (code == 0) tips_.push_back(tip);
  return code;
}

int LogWalk::push_reference(const char* name) {
  git_oid id;
  const int code = git_reference_name_to_id(&id, repo_, name);
  return code == 0 ? push(id) : code;
}

int LogWalk::push_glob(std::string_view given) {
  if (given.starts_with('/')) return GIT_EINVALIDSPEC;  // libgit2 takes such a slash away
  std::string glob = (given.starts_with("refs/") ? "" : "refs/") + std::string(given);
  if (given.find_first_of("?*[") == given.npos) glob += "/*";
  git_reference_iterator* made = nullptr;
  int code = git_reference_iterator_glob_new(&made, repo_, glob.c_str());
  const std::unique_ptr<git_reference_iterator, decltype(&git_reference_iterator_free)> references(
      made, git_reference_iterator_free);
  for (const char* name; code == 0 && (code = git_reference_next_name(&name, made)) == 0;) {
    code = push_reference(name);
    if (code == GIT_ENOTFOUND || code == GIT_EINVALIDSPEC || code == GIT_EPEEL) code = 0;
  }
  return code == GIT_ITEROVER ? 0 : code;
}

bool LogWalk::look_up(Place place) {
  git_commit* commit = nullptr;
  if (NEXT(git_commit_lookup)(&commit, repo_, &graph_[place].id) != 0) {
    git_error_clear();
    return false;
  }
  keep(graph_[place], commit);
  graph_[place].time = git_commit_time(commit);
  graph_[place].first_parent = static_cast<std::uint32_t>(graph_.count_parents());
  const unsigned parent_count = git_commit_parentcount(commit);
  for (unsigned i = 0; i < parent_count; ++i) graph_.add_parent(*git_commit_parent_id(commit, i));
  if (bytes_in_use > most_bytes_) git_commit_free(take(graph_[place]));
  return parent_count <= kMostParents;
}

// Not before its children have been handed out.
void LogWalk::expect(Place place) {
  if (graph_[place].children == 0) expected_.push(graph_[place].time, place);
}

bool LogWalk::begin() {
  if (tips_.empty()) return false;
  most_bytes_ = memory_left();
  const CacheOff cache(repo_, tips_.back());
  has_cache_ = cache.was_on();
  for (auto tip = tips_.rbegin(); tip != tips_.rend(); ++tip) graph_.place_of(*tip);
  const auto tip_count = static_cast<Place>(graph_.size());
  for (Place place = 0; place < graph_.size(); ++place) {
    if (place % kBetweenNews == 0 && go_on({uwugit::WorkStage::kReading, place, 0, 0}) != 0) {
      return false;
    }
    if (!look_up(place)) return false;
  }
  const bool is_last_first = is_last_tip_first();
  for (Place i = 0; i < tip_count; ++i) expect(is_last_first ? i : tip_count - 1 - i);
  return has_begun_ = true;
}

void LogWalk::hand_out(git_oid* id) {
  if (handed_out_) git_commit_free(take(*handed_out_));
  const Place place = expected_.pop();
  handed_out_ = &graph_[place];
  for (const Place parent : graph_.parents_of(place)) {
    --graph_[parent].children;
    expect(parent);
  }
  ++count_;
  *id = handed_out_->id;
}

bool LogWalk::is_turn_of(const git_repository* repo, const git_oid* id) const {
  return handed_out_ && repo == repo_ && git_oid_equal(&handed_out_->id, id);
}

git_commit* LogWalk::take_kept() { return take(*std::exchange(handed_out_, nullptr)); }
