#include "sql/database.h"

#include <algorithm>
#include <cmath>

#include "format/writer.h"
#include "interrupt.h"

namespace uwugit::runner {
namespace {

constexpr char kOnlyReading[] = "the tables can only be read, by one SELECT";

// The line that a byte of the text is in, with a mark below that byte.
std::string show_place(const std::string& text, std::size_t offset) {
  const std::size_t start = offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;
  const std::size_t end = std::min(text.find('\n', offset), text.size());
  std::string line, before;
  append_utf8(line, std::string_view(text).substr(start, end - start));
  append_utf8(before, std::string_view(text).substr(start, offset - start));
  for (std::string* part : {&line, &before}) {
    std::replace_if(
        part->begin(), part->end(), [](char c) { return static_cast<unsigned char>(c) < 32; }, ' ');
  }
  return "\n  " + line + "\n  " + std::string(display_width(before), ' ') + "^";
}

[[noreturn]] void fail_to_prepare(const Database& database, int rc, const std::string& sql) {
  std::string message = rc == SQLITE_AUTH ? kOnlyReading : sqlite3_errmsg(database.get());
  const int offset = sqlite3_error_offset(database.get());
  if (offset >= 0) message += show_place(sql, static_cast<std::size_t>(offset));
  throw SqlError(message);
}

// Whether nothing but blanks, comments and semicolons stands there.
bool is_empty(const Database& database, const char* sql) {
  while (*sql) {
    sqlite3_stmt* statement = nullptr;
    const int rc = sqlite3_prepare_v2(database.get(), sql, -1, &statement, &sql);
    sqlite3_finalize(statement);
    if (rc != SQLITE_OK || statement) return false;
  }
  return true;
}

int authorize(void*, int action, const char*, const char*, const char*, const char*) {
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_FUNCTION:
    case SQLITE_RECURSIVE:
      return SQLITE_OK;
    default:
      return SQLITE_DENY;
  }
}

}  // namespace

Database::Database(const std::string& file) : prefix_(file == kInMemory ? "" : file + ": ") {
  sqlite3* database = nullptr;
  const int rc =
      sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  database_.reset(database);
  check(rc);
  constexpr int kInstructions = 10000;  // between two looks
  sqlite3_progress_handler(
      database, kInstructions, [](void*) { return is_interrupted() ? 1 : 0; }, nullptr);
}

int Database::check(int rc) const {
  if (rc == SQLITE_OK || rc == SQLITE_ROW || rc == SQLITE_DONE) return rc;
  throw host::RepositoryError(prefix_ + sqlite3_errmsg(get()));
}

void Database::execute(const std::string& sql) {
  check(sqlite3_exec(get(), sql.c_str(), nullptr, nullptr, nullptr));
}

Statement::Statement(const Database& database, const std::string& sql) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  const char* rest = nullptr;
  const int rc = sqlite3_prepare_v2(database.get(), sql.c_str(), -1, &statement, &rest);
  statement_.reset(statement);
  if (rc != SQLITE_OK) fail_to_prepare(database, rc, sql);
  if (sql.find('\0') != sql.npos) throw SqlError("the statement has a NUL in it");
  if (!statement) throw SqlError("there is no statement");
  if (!is_empty(database, rest)) {
    throw SqlError("there is more than one statement" +
                   show_place(sql, static_cast<std::size_t>(rest - sql.c_str())));
  }
}

bool Statement::step() { return database_.check(sqlite3_step(get())) == SQLITE_ROW; }

// A name without an alias is the text of its expression, which may have several lines.
StatementRows::StatementRows(Statement& statement) : statement_(statement) {
  const int count = sqlite3_column_count(statement.get());
  for (int i = 0; i < count; ++i) {
    std::string name = sqlite3_column_name(statement.get(), i);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 32; }, ' ');
    names_.push_back(std::move(name));
  }
  for (const std::string& name : names_) columns_.push_back({name, host::ColumnType::kAny, {}});
  set_ = {{}, {}, columns_, false, nullptr};
}

host::Cell StatementRows::cell(std::size_t column) {
  sqlite3_stmt* const statement = statement_.get();
  const int place = static_cast<int>(column);
  const int type = sqlite3_column_type(statement, place);
  if (type == SQLITE_NULL) return {};
  const bool is_numeral =
      type == SQLITE_INTEGER ||
      (type == SQLITE_FLOAT && std::isfinite(sqlite3_column_double(statement, place)));
  const unsigned char* text = sqlite3_column_text(statement, place);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, place));
  return {false, is_numeral, {reinterpret_cast<const char*>(text), size}};
}

void allow_only_reading(const Database& database) {
  sqlite3_set_authorizer(database.get(), authorize, nullptr);
}

void require_result(const Statement& statement) {
  const bool is_reading = sqlite3_stmt_readonly(statement.get()) != 0;
  if (!is_reading || sqlite3_column_count(statement.get()) == 0) throw SqlError(kOnlyReading);
}

}  // namespace uwugit::runner
