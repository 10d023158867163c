#include <algorithm>
#include <limits>

#include "format/wrap.h"
#include "format/writer.h"

namespace uwugit::runner {
namespace {

constexpr std::size_t kMeasuredRows = 1000;  // that the widths of the columns are taken from
constexpr std::size_t kNarrowest = 6;  // a column is not cut below this while another is wider
constexpr std::size_t kShownId = 10;   // digits of an id
constexpr std::size_t kGap = 2;
constexpr char kCut[] = "…";

// Columns below each other. The first rows are held back until the widths are known.
class TableWriter : public RowWriter {
 public:
  TableWriter(const host::RowSet& set, ColumnList columns, std::FILE* file)
      : set_(set), columns_(std::move(columns)), file_(file) {
    Row head;
    for (const std::size_t column : columns_) head.emplace_back(set_.columns[column].name);
    rows_.push_back(std::move(head));
    has_text_.resize(columns_.size());
  }

  void row(host::RowReader& reader) override {
    Row row;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const host::Cell cell = reader.cell(columns_[i]);
      row.push_back(shown(columns_[i], cell));
      if (widths_.empty() && !cell.is_null && cell.number == 0) has_text_[i] = true;
    }
    if (!widths_.empty()) return write(row);
    rows_.push_back(std::move(row));
    if (rows_.size() == kMeasuredRows) write_measured();
  }

  void end() override {
    if (widths_.empty()) write_measured();
  }

 private:
  using Row = std::vector<std::string>;

  bool is_number(std::size_t place) const {
    const host::ColumnType type = set_.columns[columns_[place]].type;
    if (type == host::ColumnType::kAny) return !has_text_[place];
    return type == host::ColumnType::kNumber || type == host::ColumnType::kTime;
  }

  // One line without control characters.
  std::string shown(std::size_t column, const host::Cell& cell) const {
    if (cell.is_null) return "";
    switch (set_.columns[column].type) {
      case host::ColumnType::kFlag:
        return cell.number != 0 ? "yes" : "";
      case host::ColumnType::kNumber:
      case host::ColumnType::kTime:
        return std::to_string(cell.number);
      case host::ColumnType::kIds:
        return short_ids(cell.text);
      default:
        break;
    }
    const std::string_view name = set_.columns[column].name;
    const bool is_any = set_.columns[column].type == host::ColumnType::kAny;
    if (!is_any && (name == "id" || name == "parent"))
      return std::string(cell.text.substr(0, kShownId));
    std::string_view beginning = cell.text.substr(0, 4096);
    while (beginning.ends_with('\n')) beginning.remove_suffix(1);
    std::string text;
    append_one_line(text, beginning);
    return text;
  }

  static std::string short_ids(std::string_view ids) {
    std::string text;
    while (!ids.empty()) {
      const std::string_view id = ids.substr(0, ids.find(','));
      ids.remove_prefix(std::min(id.size() + 1, ids.size()));
      if (!text.empty()) text += ' ';
      text += id.substr(0, kShownId);
    }
    return text;
  }

  // The widest column gives way until the row fits.
  void measure() {
    widths_.assign(columns_.size(), 0);
    for (const Row& row : rows_) {
      for (std::size_t i = 0; i < row.size(); ++i) {
        widths_[i] = std::max(widths_[i], display_width(row[i]));
      }
    }
    const std::size_t room = width_of_terminal(file_, std::numeric_limits<std::size_t>::max());
    std::size_t total = kGap * (widths_.size() - 1);
    for (const std::size_t width : widths_) total += width;
    while (total > room) {
      std::size_t& widest = *std::max_element(widths_.begin(), widths_.end());
      if (widest <= kNarrowest) break;
      --widest;
      --total;
    }
    room_ = room;
  }

  void write_measured() {
    measure();
    for (const Row& row : rows_) write(row);
    rows_.clear();
  }

  // What still does not fit is cut at the terminal's edge.
  void write(const Row& row) {
    line_.clear();
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i > 0) line_.append(kGap, ' ');
      const std::size_t width = display_width(row[i]);
      const std::size_t blanks = widths_[i] - std::min(width, widths_[i]);
      if (is_number(i)) line_.append(blanks, ' ');
      if (width <= widths_[i]) {
        line_ += row[i];
      } else {
        line_ += cut_to_width(row[i], widths_[i] - 1);
        line_ += kCut;
      }
      if (!is_number(i)) line_.append(blanks, ' ');
    }
    line_.erase(line_.find_last_not_of(' ') + 1);
    const std::string_view whole = cut_to_width(line_, room_);
    std::fwrite(whole.data(), 1, whole.size(), file_);
    std::fputc('\n', file_);
  }

  const host::RowSet& set_;
  ColumnList columns_;
  std::FILE* file_;
  std::vector<Row> rows_;            // until the widths are known
  std::vector<std::size_t> widths_;  // empty until then
  std::vector<bool> has_text_;       // of columns of any type: whether a row was no numeral
  std::size_t room_ = 0;
  std::string line_;
};

}  // namespace

std::unique_ptr<RowWriter> make_table_writer(const host::RowSet& set, ColumnList columns,
                                             std::FILE* file) {
  return std::make_unique<TableWriter>(set, std::move(columns), file);
}

std::unique_ptr<RowWriter> make_writer(Format format, const host::RowSet& set, ColumnList columns,
                                       std::FILE* file) {
  switch (format) {
    case Format::kCsv:
      return make_csv_writer(set, std::move(columns), file);
    case Format::kJson:
    case Format::kJsonLines:
      return make_json_writer(set, std::move(columns), file, format == Format::kJsonLines);
    case Format::kStat:
    case Format::kNumstat:
    case Format::kPatch:
      return make_diff_writer(format, set, file);
    default:
      return make_table_writer(set, std::move(columns), file);
  }
}

}  // namespace uwugit::runner
