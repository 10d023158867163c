// Rows for Lua: what a loop goes through, record by record.
#pragma once

struct lua_State;

namespace uwugit::runner {

// rows(path, set, query, [complete]) -> rows, nil, nil, rows: opens a set of rows for a `for` loop,
// which closes it however it ends. The rows are called for each record, a table with a field for
// each column but the contents, and nil at the end. `complete(record, number)` is called for each.
int open_rows(lua_State* lua);

// print_rows(rows, most): shows rows as the table that a command shows, at most so many.
int print_rows(lua_State* lua);

// sets() -> a list of the sets, each {name=, is_of_two_commits=}.
int list_row_sets(lua_State* lua);

// Makes the metatable of rows.
void add_rows(lua_State* lua);

// Makes an error of the layer of a message: {function=, message=, log={}}.
void push_layer_error(lua_State* lua, const char* function, const char* message);

inline constexpr char kRowsType[] = "uwugit.rows";
inline constexpr char kErrorType[] = "uwugit.error";

}  // namespace uwugit::runner
