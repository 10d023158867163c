// The commands that show results as rows: status, log, diff, refs, changes.
#pragma once

#include <string>
#include <vector>

#include "format/writer.h"
#include "session.h"

namespace uwugit::runner {

struct RowsCommand {
  std::string place = ".";           // a folder in the repository
  std::string set;                   // the set of rows
  std::vector<std::string> columns;  // to show; empty: those of the format
  std::string format;                // its name; empty: a table on a terminal, CSV elsewhere
  host::RowQuery query;
};

// Answers the exit status. Throws host::UsageError for a column or format that there is not.
int show_rows(const SessionOptions& options, const RowsCommand& command);

// Of its name; that of the terminal, or else CSV, when it is empty. Throws host::UsageError.
Format find_format(const std::string& name, std::string_view set);

// The names of the columns that a table shows.
std::vector<std::string> table_columns(std::string_view set);

}  // namespace uwugit::runner
