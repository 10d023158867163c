// The commits of a repository as a picture needs them.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "graph/lanes.h"
#include "uwugithost/rows.h"

namespace uwugit::runner {

enum class LabelKind { kHead, kBranch, kRemoteBranch, kTag, kStash, kOther };

struct Label {
  LabelKind kind;
  std::string text;  // "HEAD -> main", "tag: v1"
};

enum class CommitMark { kElsewhere, kOnBranch, kHead, kStash };

// A commit's number is that of its row, from 0. Parents that are not among the rows have the
// numbers after those.
class CommitGraph {
 public:
  // Reads the rows that are asked for. Throws host::RepositoryError.
  CommitGraph(const host::Repository& repository, const host::RowQuery& query);

  std::size_t size() const { return ids_.size(); }
  std::string id(std::size_t row) const { return digits_of(ids_[row]); }
  std::size_t short_id_digits() const;
  std::string short_id(std::size_t row) const { return id(row).substr(0, short_id_digits()); }
  std::string first_parent_id(std::size_t row) const;  // empty for a root
  std::string_view summary(std::size_t row) const;
  std::span<const CommitNumber> parents(std::size_t row) const;
  CommitMark mark(std::size_t row) const { return marks_[row]; }
  std::span<const Label> labels(std::size_t row) const;

  // A layout for all rows, to begin at the first one.
  LaneLayout layout() const;
  const LaneRow& add_to(LaneLayout* layout, std::size_t row) const {
    return layout->add(static_cast<CommitNumber>(row), parents(row));
  }

 private:
  using Id = std::array<char, 20>;
  struct HashOfId {
    std::size_t operator()(const Id& id) const;
  };
  using Rows = std::unordered_map<Id, CommitNumber, HashOfId>;

  static std::string digits_of(const Id& id);
  static Id read_id(std::string_view digits);
  void read_rows(const host::Repository& repository, const host::RowQuery& query);
  void read_labels(const host::Repository& repository, const Rows& rows);
  void add_label(const Rows& rows, std::string_view id, Label label);

  std::vector<Id> ids_;
  std::vector<CommitMark> marks_;
  std::vector<Id> parent_ids_;
  std::vector<CommitNumber> parents_;
  std::vector<std::size_t> parents_end_;  // of each row
  std::string summaries_;
  std::vector<std::size_t> summaries_end_;
  std::unordered_map<CommitNumber, std::vector<Label>> labels_;
  CommitNumber head_ = kNoCommit;
};

}  // namespace uwugit::runner
