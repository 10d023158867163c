// Rows as text: a table for people, CSV, JSON and JSON lines for programs.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "uwugithost/rows.h"

namespace uwugit::runner {

// A column that is shown: its place in the set of rows.
using ColumnList = std::vector<std::size_t>;

class RowWriter {
 public:
  virtual ~RowWriter() = default;
  virtual void row(host::RowReader& reader) = 0;
  virtual void end() {}
};

enum class Format {
  kTable,
  kCsv,
  kJson,
  kJsonLines,
  kStat,  // these three are for the files of a diff
  kNumstat,
  kPatch,
};

// Writes to a file that stays open. The table is as wide as the terminal; when the file is none, as
// wide as it must be.
std::unique_ptr<RowWriter> make_writer(Format format, const host::RowSet& set, ColumnList columns,
                                       std::FILE* file);

std::unique_ptr<RowWriter> make_csv_writer(const host::RowSet& set, ColumnList columns,
                                           std::FILE* file);
std::unique_ptr<RowWriter> make_json_writer(const host::RowSet& set, ColumnList columns,
                                            std::FILE* file, bool is_lines);
std::unique_ptr<RowWriter> make_table_writer(const host::RowSet& set, ColumnList columns,
                                             std::FILE* file);

// The patch forms throw host::RepositoryError at a file whose content is not whole.
std::unique_ptr<RowWriter> make_diff_writer(Format format, const host::RowSet& files,
                                            std::FILE* file);

// Appends a flag as true or false, and a number or time in digits.
void append_plain(std::string& to, host::ColumnType type, const host::Cell& cell);

// Appends a text with every byte that is not part of valid UTF-8 replaced by U+FFFD.
void append_utf8(std::string& to, std::string_view text);

// The same with a blank for every control character, so that a terminal shows it on one line.
void append_one_line(std::string& to, std::string_view text);

// Appends a text as JSON has it, in quotes.
void append_json_text(std::string& to, std::string_view text);

// How many columns of a terminal the text takes, and its beginning that takes at most so many. The
// text is valid UTF-8.
std::size_t display_width(std::string_view text);
std::string_view cut_to_width(std::string_view text, std::size_t width);

}  // namespace uwugit::runner
