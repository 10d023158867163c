#include "commands/sql.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <numeric>
#include <sstream>

#include "commands/commands.h"
#include "commands/rows.h"
#include "sql/ordinary_tables.h"
#include "sql/virtual_tables.h"

namespace uwugit::runner {
namespace {

// Empty: there is none.
std::string read_statement(const SqlCommand& command) {
  if (command.statement_file.empty() && command.statement != "-") return command.statement;
  const bool is_stdin = command.statement == "-";
  std::ifstream file;
  if (!is_stdin) file.open(command.statement_file);
  if (!file) throw host::UsageError(command.statement_file + " cannot be read");
  std::ostringstream text;
  text << (is_stdin ? std::cin.rdbuf() : file.rdbuf());
  return text.str();
}

std::vector<std::string> tables_to_write(const SqlCommand& command) {
  const std::vector<std::string> known = plain_tables();
  for (const std::string& name : command.tables) {
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    std::string why = "there is no table '" + name + "' to write; there are:";
    for (const std::string& table : known) why.append(" ").append(table);
    throw host::UsageError(why);
  }
  return command.tables.empty() ? known : command.tables;
}

void show_result(Statement& statement, Format format) {
  StatementRows rows(statement);
  ColumnList columns(rows.set().columns.size());
  std::iota(columns.begin(), columns.end(), std::size_t{0});
  bool is_row = rows.next();  // most of what fails does here, before anything is shown
  const auto writer = make_writer(format, rows.set(), columns, stdout);
  for (; is_row; is_row = rows.next()) {
    writer->row(rows);
    if (std::ferror(stdout)) return;  // main says so
  }
  writer->end();
}

}  // namespace

// The statement is prepared before anything is written, and run when everything is.
int run_sql(const SessionOptions& options, const SqlCommand& command) {
  const Format format = find_format(command.format, "");
  const std::string text = read_statement(command);
  const bool is_writing = !command.database_file.empty();
  const std::vector<std::string> tables = tables_to_write(command);
  Session session(options);
  const Watchdog::Watch watch = session.watch("sql");
  const Interruptible interruptible;  // so that no unfinished file is left
  const host::Repository repository(session.host(), session.module(), command.place);
  RowSource source(repository, command.jobs);
  Database database(kInMemory);
  add_virtual_tables(database, source);
  allow_only_reading(database);
  std::optional<Statement> statement;
  if (!text.empty() || !is_writing) require_result(statement.emplace(database, text));
  if (is_writing) {
    write_ordinary_tables(repository, command.jobs, tables, command.database_file);
  }
  if (statement) show_result(*statement, format);
  return kExitSuccess;
}

std::string describe_tables() {
  std::string text = "Tables:\n";
  for (const host::RowSet& set : host::row_sets()) {
    text += "  " + std::string(set.name) + (set.is_of_two_commits ? "(old, new)" : "") + ": ";
    for (const host::Column& column : set.columns) {
      if (&column != set.columns.data()) text += ", ";
      text += column.name;
    }
    text += "\n    " + std::string(set.summary) + "\n";
  }
  return text;
}

}  // namespace uwugit::runner
