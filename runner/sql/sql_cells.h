// Values of rows as SQL has them: flags are 1 and 0, ids in a list are separated by a blank, and
// texts are UTF-8, with a replacement character for each byte that is not.
#pragma once

#include <string>

#include "uwugithost/rows.h"

namespace uwugit::runner {

// Whether a column's values are texts; those of the others are integers.
bool is_sql_text(host::ColumnType type);

// The room is for the text of the answer where it is not the cell's own.
host::Cell sql_cell(host::ColumnType type, const host::Cell& cell, std::string* room);

}  // namespace uwugit::runner
