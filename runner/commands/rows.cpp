#include "commands/rows.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "commands/commands.h"

namespace uwugit::runner {
namespace {

struct FormatName {
  std::string_view name;
  Format format;
  bool is_of_files;  // only for the files of a diff
};
constexpr FormatName kFormats[] = {
    {"table", Format::kTable, false}, {"csv", Format::kCsv, false},
    {"json", Format::kJson, false},   {"jsonl", Format::kJsonLines, false},
    {"stat", Format::kStat, true},    {"numstat", Format::kNumstat, true},
    {"patch", Format::kPatch, true},
};

struct TableColumns {
  std::string_view set;
  std::vector<std::string> columns;
};

// All columns but contents, which are long; a table has those that fit.
std::vector<std::string> usual_columns(const host::RowSet& set, Format format) {
  if (format == Format::kTable) return table_columns(set.name);
  std::vector<std::string> columns;
  for (const host::Column& column : set.columns) {
    if (column.name != "content") columns.emplace_back(column.name);
  }
  return columns;
}

ColumnList find_columns(const host::RowSet& set, const std::vector<std::string>& names) {
  ColumnList places;
  for (const std::string& name : names) {
    const int place = set.find(name);
    if (place < 0) {
      std::string why = "there is no column '" + name + "'; there are:";
      for (const host::Column& column : set.columns) why.append(" ").append(column.name);
      throw host::UsageError(why);
    }
    places.push_back(static_cast<std::size_t>(place));
  }
  return places;
}

}  // namespace

Format find_format(const std::string& name, std::string_view set) {
  if (name.empty()) return isatty(STDOUT_FILENO) ? Format::kTable : Format::kCsv;
  std::string known;
  for (const FormatName& row : kFormats) {
    if (row.is_of_files && set != "files") continue;
    if (row.name == name) return row.format;
    known += (known.empty() ? "" : ", ") + std::string(row.name);
  }
  throw host::UsageError("there is no format '" + name + "'; there are " + known);
}

std::vector<std::string> table_columns(std::string_view set) {
  static const TableColumns kColumns[] = {
      {"commits", {"id", "date", "author", "summary"}},
      {"changes", {"id", "type", "additions", "deletions", "path"}},
      {"files", {"type", "additions", "deletions", "path"}},
      {"lines", {"path", "old_line", "new_line", "kind", "text"}},
      {"parents", {"id", "position", "parent"}},
      {"refs", {"name", "kind", "id", "current"}},
      {"status", {"status", "staged", "path"}},
  };
  const auto* found = std::find_if(std::begin(kColumns), std::end(kColumns),
                                   [set](const TableColumns& row) { return row.set == set; });
  return found->columns;
}

int show_rows(const SessionOptions& options, const RowsCommand& command) {
  const host::RowSet& set = *host::find_row_set(command.set);
  const Format format = find_format(command.format, set.name);
  const ColumnList columns =
      find_columns(set, command.columns.empty() ? usual_columns(set, format) : command.columns);
  Session session(options);
  const Watchdog::Watch watch = session.watch(command.set);
  const host::Repository repository(session.host(), session.module(), command.place);
  const auto rows = set.open(repository, command.query);
  const auto writer = make_writer(format, set, columns, stdout);
  while (rows->next()) {
    writer->row(*rows);
    if (std::ferror(stdout)) return kExitFailure;  // main says so
  }
  writer->end();
  return kExitSuccess;
}

}  // namespace uwugit::runner
