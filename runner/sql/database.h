// An SQLite database and its statements.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "uwugithost/rows.h"

namespace uwugit::runner {

inline constexpr char kInMemory[] = ":memory:";

// A text that is no statement that can be run. The message shows the place.
struct SqlError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Database {
 public:
  // A file, or kInMemory. Throws host::RepositoryError, as execute() does.
  explicit Database(const std::string& file);
  sqlite3* get() const { return database_.get(); }

  void execute(const std::string& sql);
  // Throws host::RepositoryError with what SQLite says, when the answer is none of the good ones.
  int check(int rc) const;

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  std::string prefix_;  // of messages: the file
  std::unique_ptr<sqlite3, Close> database_;
};

class Statement {
 public:
  // Throws SqlError.
  Statement(const Database& database, const std::string& sql);
  sqlite3_stmt* get() const { return statement_.get(); }

  // False when there are no more rows. Throws host::RepositoryError.
  bool step();

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  const Database& database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// The columns of a statement's result, and its rows.
class StatementRows : public host::RowReader {
 public:
  explicit StatementRows(Statement& statement);
  // With columns of any type; it cannot be opened. As long as this is.
  const host::RowSet& set() const { return set_; }

  bool next() override { return statement_.step(); }
  host::Cell cell(std::size_t column) override;

 private:
  Statement& statement_;
  std::vector<std::string> names_;
  std::vector<host::Column> columns_;
  host::RowSet set_;
};

// Only statements that read are prepared from now on.
void allow_only_reading(const Database& database);
// What that does not see: VACUUM has no result. Throws SqlError.
void require_result(const Statement& statement);

}  // namespace uwugit::runner
