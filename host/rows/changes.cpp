// changes: what each commit changed against its first parent. The comparing is shared out among
// processes, a chunk of commits to each in turn, and read back in the order of the history. A pipe
// holds so little that no process gets far ahead.
#include <algorithm>

#include "rows/diff_files.h"
#include "rows/diff_records.h"
#include "rows/workers.h"

namespace uwugit::host {
namespace {

constexpr std::size_t kChunk = 16;  // commits
constexpr std::int64_t kNoNumber = -1;

enum ChangeColumn { kId, kPath, kType, kAdditions, kDeletions, kCut };
constexpr Column kColumns[] = {
    {"id", ColumnType::kText, "id of the commit"},
    {"path", ColumnType::kText, "path of the file"},
    {"type", ColumnType::kText, "\"added\", \"deleted\", \"modified\", or empty"},
    {"additions", ColumnType::kNumber, "lines added; null for a binary file"},
    {"deletions", ColumnType::kNumber, "lines removed; null for a binary file"},
    {"cut", ColumnType::kFlag, "the numbers are too low; see `files`"},
};

// A commit and what it is compared with; empty for a root.
struct Comparison {
  std::string id;
  std::string parent;
};

std::vector<Comparison> list_comparisons(const Repository& repository, const RowQuery& query) {
  const RowSet* commits = find_row_set("commits");
  const auto id = static_cast<std::size_t>(commits->find("id"));
  const auto parents = static_cast<std::size_t>(commits->find("parents"));
  std::vector<Comparison> list;
  const auto rows = commits->open(repository, query);
  while (rows->next()) {
    const std::string_view all = rows->cell(parents).text;
    list.push_back({std::string(rows->cell(id).text), std::string(all.substr(0, all.find(',')))});
  }
  return list;
}

// One row as it comes out of a comparison.
struct Change {
  std::uint64_t comparison = 0;  // the place in the list
  std::string path;
  std::string type;
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
  std::int64_t is_cut = 0;
};

// Compares one commit, and hands each row on.
template <class Take>
void compare(const Repository& repository, const std::vector<Comparison>& list, std::uint64_t place,
             Take take) {
  const auto diff = diff_of_ids(repository, list[place].parent, list[place].id);
  DiffFile file;
  while (diff->next(&file)) {
    const DiffCounts counts = count_lines(file.content);
    take(Change{place, std::string(file.path), std::string(file.type),
                counts.is_binary ? kNoNumber : counts.additions,
                counts.is_binary ? kNoNumber : counts.deletions, counts.is_cut});
  }
}

void send(WorkerOutput& output, const Change& change) {
  output.begin_row();
  output.number(static_cast<std::int64_t>(change.comparison));
  output.text(change.path);
  output.text(change.type);
  for (const std::int64_t number : {change.additions, change.deletions, change.is_cut}) {
    output.number(number);
  }
}

Change receive(WorkerInput& input) {
  Change change;
  change.comparison = static_cast<std::uint64_t>(input.number());
  change.path = input.text();
  change.type = input.text();
  for (std::int64_t* number : {&change.additions, &change.deletions, &change.is_cut}) {
    *number = input.number();
  }
  return change;
}

class ChangeRows : public RowReader {
 public:
  ChangeRows(const Repository& repository, const RowQuery& query)
      : list_(list_comparisons(repository, query)), path_(query.path) {
    const std::size_t chunks = (list_.size() + kChunk - 1) / kChunk;
    const auto jobs = static_cast<unsigned>(std::clamp<std::size_t>(query.jobs, 1, chunks + 1));
    workers_.emplace(jobs, chunks, [this, &repository](std::size_t chunk, WorkerOutput& output) {
      const std::size_t end = std::min((chunk + 1) * kChunk, list_.size());
      for (std::size_t place = chunk * kChunk; place < end; ++place) {
        compare(repository, list_, place,
                [&output](const Change& change) { send(output, change); });
      }
    });
  }

  bool next() override {
    while (WorkerInput* input = workers_->next_row()) {
      change_ = receive(*input);
      if (path_.empty() || change_.path == path_) return true;
    }
    return false;
  }

  Cell cell(std::size_t column) override {
    switch (column) {
      case kId:
        return {false, 0, list_[change_.comparison].id};
      case kPath:
        return {false, 0, change_.path};
      case kType:
        return {false, 0, change_.type};
      case kCut:
        return {false, change_.is_cut, {}};
      default: {
        const std::int64_t number = column == kAdditions ? change_.additions : change_.deletions;
        return {number == kNoNumber, number, {}};
      }
    }
  }

 private:
  std::vector<Comparison> list_;
  std::string path_;
  std::optional<Workers> workers_;
  Change change_;
};

}  // namespace

const std::span<const Column> kChangeColumns = kColumns;

std::unique_ptr<RowReader> open_changes(const Repository& repository, const RowQuery& query) {
  return std::make_unique<ChangeRows>(repository, query);
}

}  // namespace uwugit::host
