// Results as rows: each kind of result is described once, by its columns and by the functions that
// list, read and free it. Commands, formats, the Lua layer and the SQL tables all come from that
// description.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "uwugithost/repository.h"

namespace uwugit::host {

enum class ColumnType {
  kText,
  kFlag,
  kNumber,
  kTime,  // seconds since 1970
  kIds,   // a list of ids
  kAny,   // a text, or a numeral, whose number is not 0
};

// A value of a row. What is null has no value: the additions of a binary file, for example.
struct Cell {
  bool is_null = true;
  std::int64_t number = 0;     // of flags (0 and 1), numbers and times
  std::string_view text = {};  // of texts; of ids, with commas between them. Until the next row
};

struct Column {
  std::string_view name;
  ColumnType type;
  std::string_view meaning;
  // Where it comes from: an attribute of the reading function, and what is made of its text.
  std::string_view attribute = {};
  Cell (*make)(std::string_view attribute, std::string* room) = nullptr;
};

// Which rows are asked for. What does not fit a set of rows is passed over.
struct RowQuery {
  // files and lines: from which to which commit. An empty first one is "nothing", so that every
  // file of the second counts as added; kIndex and kWorkingTree compare with HEAD.
  std::string first;
  std::string second;
  std::string path;  // files, lines and changes: only of this file; empty: of all

  std::optional<bool> is_staged;  // status: only what is staged, or what is not

  // commits, parents and changes.
  std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
  std::int64_t since = std::numeric_limits<std::int64_t>::min();
  std::int64_t until = std::numeric_limits<std::int64_t>::max();
  std::string author;          // part of the author's name or e-mail
  std::string text;            // part of the message
  std::optional<bool> merges;  // only merges, or none
  bool is_current_branch = false;
  std::string id;  // only this commit

  unsigned jobs = 1;  // changes: how many processes compare
};
inline constexpr char kIndex[] = "INDEX";
inline constexpr char kWorkingTree[] = "WORKDIR";

// Goes through the rows once, in their order. The module's objects are freed when it ends. What
// fails throws RepositoryError.
class RowReader {
 public:
  virtual ~RowReader() = default;
  virtual bool next() = 0;  // false when there are no more
  virtual Cell cell(std::size_t column) = 0;
};

struct RowSet {
  std::string_view name;
  std::string_view summary;
  std::span<const Column> columns;
  bool is_of_two_commits;  // takes RowQuery::first and second
  std::unique_ptr<RowReader> (*open)(const Repository& repository, const RowQuery& query);

  // The place of a column, or -1.
  int find(std::string_view column) const;
};

std::span<const RowSet> row_sets();

// Null when there is none of that name.
const RowSet* find_row_set(std::string_view name);

}  // namespace uwugit::host
