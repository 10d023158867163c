// files and lines: the two sets of rows of a diff.
#include "rows/diff_files.h"
#include "rows/diff_records.h"

namespace uwugit::host {
namespace {

enum FileColumn { kPath, kType, kAdditions, kDeletions, kCut, kContent };
constexpr Column kOfFiles[] = {
    {"path", ColumnType::kText, "path on the new side"},
    {"type", ColumnType::kText, "\"added\", \"deleted\", \"modified\", or empty"},
    {"additions", ColumnType::kNumber, "lines added; null for a binary file"},
    {"deletions", ColumnType::kNumber, "lines removed; null for a binary file"},
    {"cut", ColumnType::kFlag,
     "the content ends early, at 5,000,000 bytes or at a NUL, and the numbers are of what is "
     "there"},
    {"content", ColumnType::kText, "the patch of the file"},
};

Cell text_cell(std::string_view text) { return {false, 0, text}; }
Cell number_cell(std::int64_t number) { return {false, number, {}}; }

class FileRows : public RowReader {
 public:
  FileRows(const Repository& repository, const RowQuery& query)
      : diff_(open_diff(repository, query)), path_(query.path) {}

  bool next() override {
    is_counted_ = false;
    while (diff_->next(&file_)) {
      if (path_.empty() || file_.path == path_) return true;
    }
    return false;
  }

  Cell cell(std::size_t column) override {
    switch (column) {
      case kPath:
        return text_cell(file_.path);
      case kType:
        return text_cell(file_.type);
      case kContent:
        patch_ = patch_text(file_.content);
        return text_cell(patch_);
      default:
        return count_cell(column);
    }
  }

 private:
  Cell count_cell(std::size_t column) {
    if (!is_counted_) counts_ = count_lines(file_.content);
    is_counted_ = true;
    if (column == kCut) return number_cell(counts_.is_cut);
    if (counts_.is_binary) return {};
    return number_cell(column == kAdditions ? counts_.additions : counts_.deletions);
  }

  std::unique_ptr<DiffFiles> diff_;
  std::string path_;
  DiffFile file_;
  bool is_counted_ = false;
  DiffCounts counts_;
  std::string patch_;
};

enum LineColumn { kLinePath, kKind, kOldLine, kNewLine, kText };
constexpr Column kOfLines[] = {
    {"path", ColumnType::kText, "path of the file, on the new side"},
    {"kind", ColumnType::kText, "\"context\", \"addition\" or \"deletion\""},
    {"old_line", ColumnType::kNumber, "its number in the old file; null for an addition"},
    {"new_line", ColumnType::kNumber, "its number in the new file; null for a deletion"},
    {"text", ColumnType::kText, "the line without its line break"},
};

class LineRows : public RowReader {
 public:
  LineRows(const Repository& repository, const RowQuery& query)
      : diff_(open_diff(repository, query)), path_(query.path) {}

  bool next() override {
    for (;;) {
      if (!records_.next(&record_)) {
        if (!next_file()) return false;
      } else if (record_.kind == RecordKind::kHunkHeader) {
        next_ = parse_hunk(record_.text);
      } else if (take_line()) {
        return true;
      }
    }
  }

  Cell cell(std::size_t column) override {
    static constexpr const char* kWords[] = {"context", "addition", "deletion"};
    switch (column) {
      case kLinePath:
        return text_cell(file_.path);
      case kKind:
        return text_cell(
            kWords[static_cast<int>(record_.kind) - static_cast<int>(RecordKind::kContext)]);
      case kOldLine:
        return record_.kind == RecordKind::kAddition ? Cell{} : number_cell(next_.old_line - 1);
      case kNewLine:
        return record_.kind == RecordKind::kDeletion ? Cell{} : number_cell(next_.new_line - 1);
      default:
        return text_cell(line_);
    }
  }

 private:
  bool next_file() {
    while (diff_->next(&file_)) {
      records_ = DiffRecords(file_.content);
      if (path_.empty() || file_.path == path_) return true;
    }
    return false;
  }

  // False for records that are no lines.
  bool take_line() {
    const bool is_old =
        record_.kind == RecordKind::kContext || record_.kind == RecordKind::kDeletion;
    const bool is_new =
        record_.kind == RecordKind::kContext || record_.kind == RecordKind::kAddition;
    if (!is_old && !is_new) return false;
    next_.old_line += is_old;
    next_.new_line += is_new;
    line_ = record_.text;
    if (!is_old || !is_new) line_.remove_prefix(1);  // the sign
    if (line_.ends_with('\n')) line_.remove_suffix(1);
    return true;
  }

  std::unique_ptr<DiffFiles> diff_;
  std::string path_;
  DiffFile file_;
  DiffRecords records_{{}};
  DiffRecord record_{};
  Hunk next_;  // the numbers of the next lines
  std::string_view line_;
};

}  // namespace

const std::span<const Column> kFileColumns = kOfFiles;
const std::span<const Column> kLineColumns = kOfLines;

std::unique_ptr<RowReader> open_files(const Repository& repository, const RowQuery& query) {
  return std::make_unique<FileRows>(repository, query);
}

std::unique_ptr<RowReader> open_lines(const Repository& repository, const RowQuery& query) {
  return std::make_unique<LineRows>(repository, query);
}

}  // namespace uwugit::host
