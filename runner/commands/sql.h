// The command that runs a statement over the sets of rows as tables.
#pragma once

#include <string>
#include <vector>

#include "session.h"

namespace uwugit::runner {

struct SqlCommand {
  std::string place = ".";          // a folder in the repository
  std::string statement;            // "-": from stdin
  std::string statement_file;       // in its place
  std::string format;               // its name; empty: a table on a terminal, CSV elsewhere
  std::string database_file;        // that ordinary tables are written to
  std::vector<std::string> tables;  // which; empty: all that take no commits
  unsigned jobs = 1;                // processes that compare commits
};

// Answers the exit status, which for a statement that cannot be prepared is that of a wrong usage.
// Throws host::UsageError.
int run_sql(const SessionOptions& options, const SqlCommand& command);

// The tables with their columns, for the help.
std::string describe_tables();

}  // namespace uwugit::runner
