// The options of the commands that show rows.
#pragma once

#include <CLI/CLI.hpp>

#include "commands/rows.h"

namespace uwugit::runner {

// Adds the options to a command whose word is status, log, diff, refs or changes. What they say is
// in `rows` when the command's callback runs.
void add_row_options(CLI::App* command, RowsCommand* rows);

}  // namespace uwugit::runner
