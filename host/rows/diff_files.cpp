#include "rows/diff_files.h"

#include <map>

#include "uwugithost/call.h"

namespace uwugit::host {
namespace {

constexpr Listing kDiff = {"diff_commits", "get_diff_attribute", "free_diff_objects"};
constexpr char kNothing[] = "nothing";  // any text that is no whole id

enum DiffColumn { kPath, kType, kContent };
constexpr Column kColumns[] = {
    {"path", ColumnType::kText, "", "FILE", as_text},
    {"type", ColumnType::kText, "", "DIFF_TYPE", as_lower_case},
    {"content", ColumnType::kText, "", "DIFF_CONTENT", as_text},
};

class CommitDiff : public DiffFiles {
 public:
  CommitDiff(const Repository& repository, const std::string& first, const std::string& second)
      : rows_(repository, kDiff, {repository.path(), first.empty() ? kNothing : first, second},
              kColumns) {}

  bool next(DiffFile* file) override {
    if (!rows_.next()) return false;
    *file = {rows_.cell(kPath).text, rows_.cell(kType).text, rows_.cell(kContent).text};
    return true;
  }

 private:
  ListedRows rows_;
};

// HEAD against the index or the working tree, a call for each file that the status names.
class WorkingDiff : public DiffFiles {
 public:
  WorkingDiff(const Repository& repository, bool is_index)
      : repository_(repository), is_index_(is_index) {
    const RowSet* status = find_row_set("status");
    const auto place_of = [status](std::string_view column) {
      return static_cast<std::size_t>(status->find(column));
    };
    const auto rows = status->open(repository, {});
    while (rows->next()) {
      const bool is_staged = rows->cell(place_of("staged")).number != 0;
      const std::string_view kind = rows->cell(place_of("status")).text;
      if (!is_staged && (is_index || kind == "new")) continue;
      const std::string path(rows->cell(place_of("path")).text);
      const auto [place, is_first] = places_.try_emplace(path, changed_.size());
      const bool is_named = kind == "modified" || kind == "deleted";
      if (is_first) changed_.push_back({path, is_named ? std::string(kind) : "", false});
      if (kind == "new") changed_[place->second] = {path, "added", true};
    }
  }

  bool next(DiffFile* file) override {
    while (place_ < changed_.size()) {
      const Changed& changed = changed_[place_++];
      if (!compare(changed)) continue;
      *file = {changed.path, changed.type, content_};
      return true;
    }
    return false;
  }

 private:
  struct Changed {
    std::string path;
    std::string type;
    bool is_new;
  };

  // The working tree is compared for files of HEAD only; a new file is shown as it is staged.
  bool compare(const Changed& changed) {
    const bool is_with_index = is_index_ || changed.is_new;
    const Value values[] = {repository_.path(), changed.path, is_with_index ? 1.0 : 0.0};
    const LogCapture log(repository_.host().log());
    const Outcome outcome = call_function(repository_.host(), repository_.module(),
                                          *find_function("diff_file_in_index"), values);
    for (const LogLine& line : log.lines()) {
      if (line.level == LogLine::kError) throw RepositoryError(line.text);
    }
    if (!outcome.is_success) return false;
    content_ = outcome.outputs.front().text;
    return true;
  }

  const Repository repository_;
  bool is_index_;
  std::vector<Changed> changed_;
  std::map<std::string, std::size_t> places_;  // a file that is staged and changed has two rows
  std::size_t place_ = 0;
  std::string content_;
};

}  // namespace

std::unique_ptr<DiffFiles> diff_of_ids(const Repository& repository, const std::string& first,
                                       const std::string& second) {
  return std::make_unique<CommitDiff>(repository, first, second);
}

std::unique_ptr<DiffFiles> open_diff(const Repository& repository, const RowQuery& query) {
  if (query.second == kIndex || query.second == kWorkingTree) {
    return std::make_unique<WorkingDiff>(repository, query.second == kIndex);
  }
  if (query.first.empty()) return diff_of_ids(repository, "", repository.commit_id(query.second));
  const std::vector<std::string> ids = repository.commit_ids({query.first, query.second});
  return diff_of_ids(repository, ids.front(), ids.back());
}

}  // namespace uwugit::host
