// The options of the command `sql`.
#pragma once

#include <CLI/CLI.hpp>

#include "commands/sql.h"

namespace uwugit::runner {

// What they say is in `sql` when the command's callback runs.
void add_sql_options(CLI::App* command, SqlCommand* sql);

}  // namespace uwugit::runner
