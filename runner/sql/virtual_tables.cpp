// One SQLite module serves all sets of rows. What it does about constraints:
//
// - `id` and `path` must equal something: rows are looked up in an index of kept rows, or compared
//   as they are read where that happens once. The changes of one commit are compared when they are
//   asked for.
// - All others, times too, are left to SQLite, which reads no other column of a row until they
//   hold; that is all that a reader would save. They count in the estimates, so that a join begins
//   with the commits of a week and not with the changes of ten years.
// - LIMIT is left to SQLite as well: no reader is further ahead than a row or a pipe's length.
#include "sql/virtual_tables.h"

#include <algorithm>

#include "sql/sql_cells.h"

namespace uwugit::runner {
namespace {

// How many rows there are and what it costs to read them, guessed: only the proportions count.
struct Guess {
  std::string_view set;
  double rows;
  double cost;
};
constexpr Guess kGuesses[] = {
    {"status", 100, 1e4},  {"commits", 1e5, 1e5}, {"parents", 1e5, 1.5e5}, {"refs", 100, 100},
    {"changes", 3e5, 1e7}, {"files", 100, 1e4},   {"lines", 1e4, 2e4},
};
constexpr Guess kOtherGuess = {"", 1000, 1000};
constexpr double kCostOfLookup = 10;
constexpr double kCostOfComparison = 200;  // of a commit with its parent
constexpr double kSelectivity = 10;        // a condition holds for one row in so many

// What a scan has to do, as SQLite hands it on in a number. The key's value is the first argument.
constexpr int kHasKey = 1;
constexpr int kIsConstant = 2;
constexpr int kHasFirst = 4;
constexpr int kHasSecond = 8;
constexpr int kColumnShift = 8;  // of the key

struct Table : sqlite3_vtab {
  Table(RowSource& rows_from, const host::RowSet& rows)
      : sqlite3_vtab{}, source(rows_from), set(rows) {}
  RowSource& source;
  const host::RowSet& set;
};

struct Cursor : sqlite3_vtab_cursor {
  explicit Cursor(Table& table) : sqlite3_vtab_cursor{}, scan(table.source, table.set) {}
  RowScan scan;
};

// What connecting takes.
struct Registration {
  RowSource& source;
  const host::RowSet& set;
};

Cursor& as_cursor(sqlite3_vtab_cursor* cursor) { return *static_cast<Cursor*>(cursor); }

// Nothing that is thrown gets into SQLite.
template <class Work>
int guarded(sqlite3_vtab* table, Work work) {
  std::string message;
  try {
    work();
    return SQLITE_OK;
  } catch (const std::bad_alloc&) {
    return SQLITE_NOMEM;
  } catch (const std::exception& error) {
    message = error.what();
  }
  sqlite3_free(table->zErrMsg);
  table->zErrMsg = sqlite3_mprintf("%s", message.c_str());
  return SQLITE_ERROR;
}

std::string declaration(const host::RowSet& set) {
  std::string sql = "CREATE TABLE x(";
  for (const host::Column& column : set.columns) {
    if (!sql.ends_with('(')) sql += ", ";
    sql +=
        "\"" + std::string(column.name) + "\" " + (is_sql_text(column.type) ? "TEXT" : "INTEGER");
  }
  for (const char* name : kCommitArguments) {
    if (set.is_of_two_commits) sql += std::string(", \"") + name + "\" TEXT HIDDEN";
  }
  return sql + ")";
}

int connect(sqlite3* database, void* data, int, const char* const*, sqlite3_vtab** table, char**) {
  const auto& registration = *static_cast<const Registration*>(data);
  const int rc = sqlite3_declare_vtab(database, declaration(registration.set).c_str());
  if (rc == SQLITE_OK) *table = new Table(registration.source, registration.set);
  return rc;
}

int disconnect(sqlite3_vtab* table) {
  delete static_cast<Table*>(table);
  return SQLITE_OK;
}

// What is asked of one scan, taken from the constraints one by one.
class Planner {
 public:
  Planner(const Table& table, sqlite3_index_info* info) : set_(table.set), info_(*info) {
    const auto* found = std::find_if(std::begin(kGuesses), std::end(kGuesses),
                                     [this](const Guess& row) { return row.set == set_.name; });
    guess_ = found == std::end(kGuesses) ? kOtherGuess : *found;
  }

  int plan() {
    for (int i = 0; i < info_.nConstraint; ++i) {
      if (!take(i)) return SQLITE_CONSTRAINT;
    }
    int arguments = 0;
    for (const int place : {key_, first_, second_}) {
      if (place >= 0) info_.aConstraintUsage[place].argvIndex = ++arguments;
    }
    for (const int place : {first_, second_}) {
      if (place >= 0) info_.aConstraintUsage[place].omit = 1;
    }
    info_.idxNum = (first_ >= 0 ? kHasFirst : 0) | (second_ >= 0 ? kHasSecond : 0);
    if (key_ >= 0) plan_key();
    info_.estimatedCost = guess_.cost;
    info_.estimatedRows = static_cast<sqlite3_int64>(std::max(1.0, guess_.rows));
    return SQLITE_OK;
  }

 private:
  // False when the two commits come from a table that is read later.
  bool take(int place) {
    const auto& constraint = info_.aConstraint[place];
    const auto column = static_cast<std::size_t>(std::max(0, constraint.iColumn));
    const bool is_equality = constraint.op == SQLITE_INDEX_CONSTRAINT_EQ;
    if (constraint.iColumn >= 0 && column >= set_.columns.size() && is_equality) {
      (column == set_.columns.size() ? first_ : second_) = place;
      return constraint.usable;
    }
    if (!constraint.usable || constraint.op >= SQLITE_INDEX_CONSTRAINT_LIMIT) return true;
    guess_.rows /= kSelectivity;
    if (!is_equality || constraint.iColumn < 0) return true;
    const std::string_view name = set_.columns[column].name;
    const bool is_binary = std::string_view(sqlite3_vtab_collation(&info_, place)) == "BINARY";
    if (is_binary && (name == "id" || (name == "path" && key_ < 0))) key_ = place;
    return true;
  }

  void plan_key() {
    sqlite3_value* value = nullptr;
    const bool is_constant = sqlite3_vtab_rhs_value(&info_, key_, &value) == SQLITE_OK;
    const int column = info_.aConstraint[key_].iColumn;
    info_.idxNum |= kHasKey | (is_constant ? kIsConstant : 0) | column << kColumnShift;
    guess_.rows = std::min(guess_.rows, 3.0);
    if (set_.name == "changes" && column == set_.find("id")) {
      guess_.cost = kCostOfComparison;
    } else if (!is_constant) {
      guess_.cost = kCostOfLookup;
    }
  }

  const host::RowSet& set_;
  sqlite3_index_info& info_;
  Guess guess_;
  int key_ = -1;  // places of constraints
  int first_ = -1;
  int second_ = -1;
};

int best_index(sqlite3_vtab* base, sqlite3_index_info* info) {
  Table& table = *static_cast<Table*>(base);
  const std::uint64_t all = (std::uint64_t{1} << table.set.columns.size()) - 1;
  int answer = SQLITE_OK;
  const int rc = guarded(base, [&] {
    table.source.use(table.set, info->colUsed & all);
    answer = Planner(table, info).plan();
  });
  return rc != SQLITE_OK ? rc : answer;
}

int open_cursor(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
  return guarded(table, [&] { *cursor = new Cursor(*static_cast<Table*>(table)); });
}

int close_cursor(sqlite3_vtab_cursor* cursor) {
  delete &as_cursor(cursor);
  return SQLITE_OK;
}

std::string text_of(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text ? std::string(text, static_cast<std::size_t>(sqlite3_value_bytes(value))) : "";
}

// As `uwugit diff` takes them: none is HEAD and the working tree, one is compared with HEAD.
void take_commits(int plan, sqlite3_value** arguments, host::RowQuery* query) {
  query->first = "HEAD";
  query->second = plan & kHasFirst ? "HEAD" : host::kWorkingTree;
  if (plan & kHasFirst) query->first = text_of(*arguments++);
  if (plan & kHasSecond) query->second = text_of(*arguments);
  const bool is_with_head = query->first == "HEAD";
  if (!is_with_head && (query->second == host::kWorkingTree || query->second == host::kIndex)) {
    throw host::RepositoryError("the working tree and the index are compared with HEAD only");
  }
}

int filter(sqlite3_vtab_cursor* base, int plan, const char*, int, sqlite3_value** arguments) {
  RowScan& scan = as_cursor(base).scan;
  return guarded(base->pVtab, [&] {
    std::optional<RowScan::Key> key;
    if (plan & kHasKey) {
      const bool is_null = sqlite3_value_type(*arguments) == SQLITE_NULL;
      key = {static_cast<std::size_t>(plan >> kColumnShift), text_of(*arguments++),
             (plan & kIsConstant) != 0};
      if (is_null) return scan.end();
    }
    host::RowQuery query;
    query.jobs = static_cast<Table*>(base->pVtab)->source.jobs();
    if (scan.set().is_of_two_commits) take_commits(plan, arguments, &query);
    scan.begin(query, std::move(key));
  });
}

int next_row(sqlite3_vtab_cursor* base) {
  return guarded(base->pVtab, [base] { as_cursor(base).scan.next(); });
}

int is_at_end(sqlite3_vtab_cursor* base) { return as_cursor(base).scan.is_at_end(); }

void give(sqlite3_context* context, std::string_view text) {
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

int give_column(sqlite3_vtab_cursor* base, sqlite3_context* context, int place) {
  return guarded(base->pVtab, [=] {
    RowScan& scan = as_cursor(base).scan;
    const auto column = static_cast<std::size_t>(place);
    const std::size_t count = scan.set().columns.size();
    if (column >= count) {
      return give(context, column == count ? scan.query().first : scan.query().second);
    }
    const host::Cell cell = scan.cell(column);
    if (cell.is_null) return;  // null is what SQLite expects
    if (is_sql_text(scan.set().columns[column].type)) return give(context, cell.text);
    sqlite3_result_int64(context, cell.number);
  });
}

int give_row_number(sqlite3_vtab_cursor* base, sqlite3_int64* number) {
  return guarded(base->pVtab, [=] { *number = as_cursor(base).scan.row_number(); });
}

constexpr sqlite3_module kModule = {
    .iVersion = 0,
    .xCreate = nullptr,  // the tables are there without being created
    .xConnect = connect,
    .xBestIndex = best_index,
    .xDisconnect = disconnect,
    .xDestroy = nullptr,
    .xOpen = open_cursor,
    .xClose = close_cursor,
    .xFilter = filter,
    .xNext = next_row,
    .xEof = is_at_end,
    .xColumn = give_column,
    .xRowid = give_row_number,
    .xUpdate = nullptr,  // they cannot be written
    .xBegin = nullptr,
    .xSync = nullptr,
    .xCommit = nullptr,
    .xRollback = nullptr,
    .xFindFunction = nullptr,
    .xRename = nullptr,
    .xSavepoint = nullptr,
    .xRelease = nullptr,
    .xRollbackTo = nullptr,
    .xShadowName = nullptr,
};

}  // namespace

// Each table is used once: declaring it would not be allowed any more when only reading is.
void add_virtual_tables(Database& database, RowSource& source) {
  for (const host::RowSet& set : host::row_sets()) {
    const std::string name(set.name);
    database.check(sqlite3_create_module_v2(
        database.get(), name.c_str(), &kModule, new Registration{source, set},
        [](void* data) { delete static_cast<Registration*>(data); }));
    const Statement connected(database, "SELECT 1 FROM \"" + name + "\"");
  }
}

}  // namespace uwugit::runner
