// The sets of rows as tables of SQL. Those of two commits are called as functions:
// files('v1','v2').
#pragma once

#include "sql/database.h"
#include "sql/row_source.h"

namespace uwugit::runner {

// The hidden columns that take the two commits.
inline constexpr const char* kCommitArguments[] = {"old", "new"};

// The source lives as long as the database.
void add_virtual_tables(Database& database, RowSource& source);

}  // namespace uwugit::runner
