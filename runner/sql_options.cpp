#include "sql_options.h"

#include <algorithm>
#include <thread>

namespace uwugit::runner {

void add_sql_options(CLI::App* command, SqlCommand* sql) {
  auto* statement = command->add_option("SELECT", sql->statement, "The statement; - reads stdin");
  command->add_option("--file", sql->statement_file, "Read the statement from here")
      ->type_name("FILE")
      ->excludes(statement);
  command
      ->add_option("--format", sql->format,
                   "table, csv, json, jsonl (a table on a terminal, csv elsewhere)")
      ->type_name("FORMAT");
  auto* to = command
                 ->add_option("--to", sql->database_file,
                              "Write the tables into a database that other programs open")
                 ->type_name("FILE.db");
  command->add_option("--tables", sql->tables, "Only these, in place of all without arguments")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->needs(to)
      ->type_name("NAME,...");
  sql->jobs = std::max(1u, std::thread::hardware_concurrency());
  command->add_option("-j,--jobs", sql->jobs, "Processes that compare commits")
      ->check(CLI::Range(1, 256))
      ->type_name("N")
      ->capture_default_str();
  command->footer(describe_tables);
}

}  // namespace uwugit::runner
