#include <algorithm>

#include "format/writer.h"

namespace uwugit::runner {
namespace {

// RFC 4180: lines end with CR LF; what holds a comma, a quote or a line break stands in quotes.
// Texts are written as the bytes they are.
class CsvWriter : public RowWriter {
 public:
  CsvWriter(const host::RowSet& set, ColumnList columns, std::FILE* file)
      : set_(set), columns_(std::move(columns)), file_(file) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (i > 0) line_ += ',';
      add_text(set_.columns[columns_[i]].name);
    }
    write_line();
  }

  void row(host::RowReader& reader) override {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (i > 0) line_ += ',';
      const host::Cell cell = reader.cell(columns_[i]);
      if (!cell.is_null) add(set_.columns[columns_[i]].type, cell);
    }
    write_line();
  }

 private:
  void add(host::ColumnType type, const host::Cell& cell) {
    switch (type) {
      case host::ColumnType::kText:
      case host::ColumnType::kAny:
        add_text(cell.text);
        break;
      case host::ColumnType::kIds: {
        const std::size_t start = line_.size();
        line_ += cell.text;
        std::replace(line_.begin() + static_cast<std::ptrdiff_t>(start), line_.end(), ',', ' ');
        break;
      }
      default:
        append_plain(line_, type, cell);
    }
  }

  void add_text(std::string_view text) {
    if (text.find_first_of("\",\r\n") == std::string_view::npos) {
      line_ += text;
      return;
    }
    line_ += '"';
    for (const char c : text) {
      if (c == '"') line_ += '"';
      line_ += c;
    }
    line_ += '"';
  }

  void write_line() {
    line_ += "\r\n";
    std::fwrite(line_.data(), 1, line_.size(), file_);
    line_.clear();
  }

  const host::RowSet& set_;
  ColumnList columns_;
  std::FILE* file_;
  std::string line_;  // reused from row to row
};

}  // namespace

void append_plain(std::string& to, host::ColumnType type, const host::Cell& cell) {
  if (type == host::ColumnType::kFlag) {
    to += cell.number != 0 ? "true" : "false";
  } else {
    to += std::to_string(cell.number);
  }
}

std::unique_ptr<RowWriter> make_csv_writer(const host::RowSet& set, ColumnList columns,
                                           std::FILE* file) {
  return std::make_unique<CsvWriter>(set, std::move(columns), file);
}

}  // namespace uwugit::runner
