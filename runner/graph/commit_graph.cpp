#include "graph/commit_graph.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace uwugit::runner {
namespace {

constexpr std::size_t kIdDigits = 40;
constexpr std::size_t kLongestSummary = 4096;

LabelKind label_kind(std::string_view kind) {
  if (kind == "branch") return LabelKind::kBranch;
  if (kind == "remote branch") return LabelKind::kRemoteBranch;
  if (kind == "tag") return LabelKind::kTag;
  return kind == "stash" ? LabelKind::kStash : LabelKind::kOther;
}

int digit_value(char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; }

// The part of a list that belongs to a row, where `ends` tells the end of each row's part.
std::pair<std::size_t, std::size_t> part_of(const std::vector<std::size_t>& ends, std::size_t row) {
  const std::size_t begin = row == 0 ? 0 : ends[row - 1];
  return {begin, ends[row] - begin};
}

}  // namespace

std::size_t CommitGraph::HashOfId::operator()(const Id& id) const {
  std::size_t hash;
  std::memcpy(&hash, id.data(), sizeof hash);
  return hash;
}

CommitGraph::CommitGraph(const host::Repository& repository, const host::RowQuery& query) {
  read_rows(repository, query);
  Rows rows;
  rows.reserve(ids_.size());
  for (const Id& id : ids_) rows.emplace(id, static_cast<CommitNumber>(rows.size()));
  read_labels(repository, rows);
  parents_.reserve(parent_ids_.size());
  for (const Id& id : parent_ids_) {
    parents_.push_back(rows.emplace(id, static_cast<CommitNumber>(rows.size())).first->second);
  }
}

void CommitGraph::read_rows(const host::Repository& repository, const host::RowQuery& query) {
  const host::RowSet& set = *host::find_row_set("commits");
  const auto column = [&set](std::string_view name) {
    return static_cast<std::size_t>(set.find(name));
  };
  const std::size_t id = column("id"), parents = column("parents"), summary = column("summary"),
                    stash = column("stash"), on_branch = column("on_branch");
  const auto reader = set.open(repository, query);
  while (reader->next()) {
    ids_.push_back(read_id(reader->cell(id).text));
    for (std::string_view rest = reader->cell(parents).text; rest.size() >= kIdDigits;) {
      parent_ids_.push_back(read_id(rest.substr(0, kIdDigits)));
      rest.remove_prefix(std::min(kIdDigits + 1, rest.size()));
    }
    parents_end_.push_back(parent_ids_.size());
    summaries_ += reader->cell(summary).text.substr(0, kLongestSummary);
    summaries_end_.push_back(summaries_.size());
    marks_.push_back(reader->cell(stash).number != 0       ? CommitMark::kStash
                     : reader->cell(on_branch).number != 0 ? CommitMark::kOnBranch
                                                           : CommitMark::kElsewhere);
  }
}

void CommitGraph::read_labels(const host::Repository& repository, const Rows& rows) {
  const std::string head = repository.find_commit("HEAD");
  bool is_detached = true;
  const auto references = repository.references();
  for (const host::Reference& reference : references) {
    if (!reference.is_current) continue;
    is_detached = false;
    add_label(rows, reference.id, {LabelKind::kHead, "HEAD -> " + reference.name});
  }
  if (is_detached) add_label(rows, head, {LabelKind::kHead, "HEAD"});
  for (const host::Reference& reference : references) {
    if (reference.is_current) continue;
    const LabelKind kind = label_kind(reference.kind);
    add_label(rows, reference.id,
              {kind, (kind == LabelKind::kTag ? "tag: " : "") + reference.name});
  }
}

void CommitGraph::add_label(const Rows& rows, std::string_view id, Label label) {
  if (id.size() != kIdDigits) return;
  const auto found = rows.find(read_id(id));
  if (found == rows.end()) return;
  if (label.kind == LabelKind::kHead) {
    head_ = found->second;
    marks_[head_] = CommitMark::kHead;
  }
  labels_[found->second].push_back(std::move(label));
}

CommitGraph::Id CommitGraph::read_id(std::string_view digits) {
  Id id;
  for (std::size_t i = 0; i < id.size(); ++i) {
    id[i] = static_cast<char>(digit_value(digits[2 * i]) << 4 | digit_value(digits[2 * i + 1]));
  }
  return id;
}

std::string CommitGraph::digits_of(const Id& id) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string digits;
  for (const char byte : id) {
    digits += kDigits[static_cast<unsigned char>(byte) >> 4];
    digits += kDigits[byte & 0xF];
  }
  return digits;
}

// As many digits as make it unlikely that two commits begin alike, and no fewer than git shows.
std::size_t CommitGraph::short_id_digits() const {
  return std::max<std::size_t>(7, (std::bit_width(size()) + 1) / 2);
}

std::string CommitGraph::first_parent_id(std::size_t row) const {
  const auto [begin, length] = part_of(parents_end_, row);
  return length == 0 ? "" : digits_of(parent_ids_[begin]);
}

std::string_view CommitGraph::summary(std::size_t row) const {
  const auto [begin, length] = part_of(summaries_end_, row);
  return std::string_view(summaries_).substr(begin, length);
}

std::span<const CommitNumber> CommitGraph::parents(std::size_t row) const {
  const auto [begin, length] = part_of(parents_end_, row);
  return std::span(parents_).subspan(begin, length);
}

std::span<const Label> CommitGraph::labels(std::size_t row) const {
  const auto found = labels_.find(static_cast<CommitNumber>(row));
  if (found == labels_.end()) return {};
  return found->second;
}

LaneLayout CommitGraph::layout() const {
  std::vector<CommitNumber> first_parents;
  first_parents.reserve(size());
  for (std::size_t row = 0; row < size(); ++row) {
    first_parents.push_back(parents(row).empty() ? kNoCommit : parents(row).front());
  }
  return LaneLayout(find_main(first_parents, head_));
}

}  // namespace uwugit::runner
