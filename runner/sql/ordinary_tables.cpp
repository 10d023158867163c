#include "sql/ordinary_tables.h"

#include "sql/database.h"
#include "sql/sql_cells.h"
#include "unfinished_file.h"

namespace uwugit::runner {
namespace {

void create(Database& database, const host::RowSet& set) {
  std::string columns;
  for (const host::Column& column : set.columns) {
    if (!columns.empty()) columns += ", ";
    columns +=
        "\"" + std::string(column.name) + (is_sql_text(column.type) ? "\" TEXT" : "\" INTEGER");
  }
  database.execute("CREATE TABLE \"" + std::string(set.name) + "\"(" + columns + ")");
}

std::string insertion(const host::RowSet& set) {
  std::string values = "?";
  for (std::size_t i = 1; i < set.columns.size(); ++i) values += ",?";
  return "INSERT INTO \"" + std::string(set.name) + "\" VALUES(" + values + ")";
}

void bind(sqlite3_stmt* statement, int place, host::ColumnType type, const host::Cell& cell) {
  std::string room;
  const host::Cell value = sql_cell(type, cell, &room);
  if (value.is_null) {
    sqlite3_bind_null(statement, place);
  } else if (is_sql_text(type)) {
    sqlite3_bind_text64(statement, place, value.text.data(), value.text.size(), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
  } else {
    sqlite3_bind_int64(statement, place, value.number);
  }
}

void fill(Database& database, const host::RowSet& set, host::RowReader& rows) {
  Statement insert(database, insertion(set));
  while (rows.next()) {
    for (std::size_t i = 0; i < set.columns.size(); ++i) {
      bind(insert.get(), static_cast<int>(i) + 1, set.columns[i].type, rows.cell(i));
    }
    insert.step();
    sqlite3_reset(insert.get());
  }
}

}  // namespace

std::vector<std::string> plain_tables() {
  std::vector<std::string> names;
  for (const host::RowSet& set : host::row_sets()) {
    if (!set.is_of_two_commits) names.emplace_back(set.name);
  }
  return names;
}

void write_ordinary_tables(const host::Repository& repository, unsigned jobs,
                           std::span<const std::string> names, const std::string& file) {
  UnfinishedFile unfinished(file);
  host::RowQuery query;
  query.jobs = jobs;
  {
    Database database(unfinished.name());
    database.execute("PRAGMA journal_mode = OFF");  // an unfinished file is of no use anyway
    database.execute("BEGIN");
    for (const std::string& name : names) {
      const host::RowSet& set = *host::find_row_set(name);
      create(database, set);
      fill(database, set, *set.open(repository, query));
    }
    database.execute("COMMIT");
  }
  unfinished.put_in_place();
}

}  // namespace uwugit::runner
