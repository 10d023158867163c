
#include "format/writer.h"

namespace uwugit::runner {
namespace {

// Objects with the columns' names, in an array or one a line.
class JsonWriter : public RowWriter {
 public:
  JsonWriter(const host::RowSet& set, ColumnList columns, std::FILE* file, bool is_lines)
      : set_(set), columns_(std::move(columns)), file_(file), is_lines_(is_lines) {
    for (const std::size_t column : columns_) {
      add_text(set_.columns[column].name);
      keys_.push_back(line_ + ":");
      line_.clear();
    }
  }

  void row(host::RowReader& reader) override {
    if (!is_lines_) line_ += is_first_ ? "[\n  " : ",\n  ";
    is_first_ = false;
    line_ += '{';
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (i > 0) line_ += ',';
      line_ += keys_[i];
      add(set_.columns[columns_[i]].type, reader.cell(columns_[i]));
    }
    line_ += is_lines_ ? "}\n" : "}";
    write();
  }

  void end() override {
    if (is_lines_) return;
    line_ += is_first_ ? "[]\n" : "\n]\n";
    write();
  }

 private:
  void add(host::ColumnType type, const host::Cell& cell) {
    if (cell.is_null) {
      line_ += "null";
      return;
    }
    switch (type) {
      case host::ColumnType::kText:
        add_text(cell.text);
        break;
      case host::ColumnType::kAny:
        if (cell.number == 0) return add_text(cell.text);
        line_ += cell.text;
        break;
      case host::ColumnType::kIds:
        add_ids(cell.text);
        break;
      default:
        append_plain(line_, type, cell);
    }
  }

  void add_text(std::string_view text) { append_json_text(line_, text); }

  void add_ids(std::string_view ids) {
    line_ += '[';
    while (!ids.empty()) {
      const std::string_view id = ids.substr(0, ids.find(','));
      ids.remove_prefix(std::min(id.size() + 1, ids.size()));
      line_ += '"';
      line_ += id;
      line_ += ids.empty() ? "\"" : "\",";
    }
    line_ += ']';
  }

  void write() {
    std::fwrite(line_.data(), 1, line_.size(), file_);
    line_.clear();
  }

  const host::RowSet& set_;
  ColumnList columns_;
  std::FILE* file_;
  bool is_lines_;
  bool is_first_ = true;
  std::vector<std::string> keys_;  // as they stand in an object, with the colon
  std::string line_;               // reused from row to row
};

}  // namespace

void append_json_text(std::string& to, std::string_view text) {
  constexpr char kDigits[] = "0123456789abcdef";
  static thread_local std::string valid;  // reused from text to text
  valid.clear();
  append_utf8(valid, text);
  to += '"';
  for (const char c : valid) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      to += '\\';
      to += c;
    } else if (c == '\n') {
      to += "\\n";
    } else if (byte < ' ') {
      to += "\\u00";
      to += kDigits[byte >> 4];
      to += kDigits[byte & 15];
    } else {
      to += c;
    }
  }
  to += '"';
}

std::unique_ptr<RowWriter> make_json_writer(const host::RowSet& set, ColumnList columns,
                                            std::FILE* file, bool is_lines) {
  return std::make_unique<JsonWriter>(set, std::move(columns), file, is_lines);
}

}  // namespace uwugit::runner
