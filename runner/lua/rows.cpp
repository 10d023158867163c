#include "lua/rows.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "commands/rows.h"
#include "dates.h"
#include "lua/guard.h"

namespace uwugit::runner {
namespace {

constexpr std::size_t kIdLength = 40;

template <auto member>
void take_text(lua_State* lua, host::RowQuery& query) {
  std::size_t length = 0;
  const char* text = lua_tolstring(lua, -1, &length);
  query.*member = std::string(text, length);
}

template <auto member>
void take_flag(lua_State* lua, host::RowQuery& query) {
  query.*member = lua_toboolean(lua, -1) != 0;
}

// The number on top of the stack within limits; no number (NaN) is the lowest.
lua_Number number_between(lua_State* lua, lua_Number lowest, lua_Number highest) {
  const lua_Number number = lua_tonumber(lua, -1);
  return number >= lowest ? std::min(number, highest) : lowest;
}

// A number is seconds since 1970, a text is a time as people write it.
template <auto member>
void take_time(lua_State* lua, host::RowQuery& query) {
  if (lua_type(lua, -1) == LUA_TNUMBER) {
    query.*member = static_cast<std::int64_t>(number_between(lua, -1e15, 1e15));
  } else {
    query.*member = parse_time(lua_tostring(lua, -1), std::time(nullptr));
  }
}

void take_limit(lua_State* lua, host::RowQuery& query) {
  query.limit = static_cast<std::uint64_t>(number_between(lua, 0.0, 1e15));
}
void take_jobs(lua_State* lua, host::RowQuery& query) {
  query.jobs = static_cast<unsigned>(number_between(lua, 1.0, 256.0));
}

struct QueryOption {
  const char* name;
  int types[2];  // of Lua's values; the second may be none
  void (*take)(lua_State* lua, host::RowQuery& query);
};
constexpr int kNone = LUA_TNONE;
constexpr QueryOption kOptions[] = {
    {"author", {LUA_TSTRING, kNone}, take_text<&host::RowQuery::author>},
    {"branch", {LUA_TBOOLEAN, kNone}, take_flag<&host::RowQuery::is_current_branch>},
    {"first", {LUA_TSTRING, kNone}, take_text<&host::RowQuery::first>},
    {"grep", {LUA_TSTRING, kNone}, take_text<&host::RowQuery::text>},
    {"id", {LUA_TSTRING, kNone}, take_text<&host::RowQuery::id>},
    {"jobs", {LUA_TNUMBER, kNone}, take_jobs},
    {"limit", {LUA_TNUMBER, kNone}, take_limit},
    {"merges", {LUA_TBOOLEAN, kNone}, take_flag<&host::RowQuery::merges>},
    {"path", {LUA_TSTRING, kNone}, take_text<&host::RowQuery::path>},
    {"second", {LUA_TSTRING, kNone}, take_text<&host::RowQuery::second>},
    {"since", {LUA_TNUMBER, LUA_TSTRING}, take_time<&host::RowQuery::since>},
    {"staged", {LUA_TBOOLEAN, kNone}, take_flag<&host::RowQuery::is_staged>},
    {"until", {LUA_TNUMBER, LUA_TSTRING}, take_time<&host::RowQuery::until>},
};

// The option of the key and value on top of the stack; null when there is none of that name and
// type.
const QueryOption* find_option(lua_State* lua) {
  if (lua_type(lua, -2) != LUA_TSTRING) return nullptr;
  const std::string_view name = lua_tostring(lua, -2);
  const int type = lua_type(lua, -1);
  for (const QueryOption& option : kOptions) {
    if (option.name == name) {
      return type == option.types[0] || type == option.types[1] ? &option : nullptr;
    }
  }
  return nullptr;
}

// Raises an error of Lua, at the place of the program that called the method, so it is called while
// there are no C++ values.
void check_query(lua_State* lua, int table) {
  luaL_where(lua, 2);
  if (!lua_istable(lua, table)) {
    lua_pushfstring(lua, "the options of rows are a %s, not a table", luaL_typename(lua, table));
    lua_concat(lua, 2);
    lua_error(lua);
  }
  for (lua_pushnil(lua); lua_next(lua, table); lua_pop(lua, 1)) {
    if (find_option(lua)) continue;
    const char* type = luaL_typename(lua, -1);
    const char* name = luaL_tolstring(lua, -2, nullptr);
    lua_pushfstring(lua, "%srows have no option '%s' that is a %s", lua_tostring(lua, 5), name,
                    type);
    lua_error(lua);
  }
}

host::RowQuery read_query(lua_State* lua, int table) {
  host::RowQuery query;
  for (lua_pushnil(lua); lua_next(lua, table); lua_pop(lua, 1)) {
    if (const QueryOption* option = find_option(lua)) option->take(lua, query);
  }
  return query;
}

// Contents are long: they are read when a program asks for them.
bool is_left_out(const host::Column& column) { return column.name == "content"; }

void push_ids(lua_State* lua, std::string_view ids) {
  lua_createtable(lua, static_cast<int>((ids.size() + 1) / (kIdLength + 1)), 0);
  for (lua_Integer number = 1; !ids.empty(); ++number) {
    const std::size_t end = std::min(ids.find(','), ids.size());
    lua_pushlstring(lua, ids.data(), end);
    lua_rawseti(lua, -2, number);
    ids.remove_prefix(std::min(end + 1, ids.size()));
  }
}

void push_cell(lua_State* lua, const host::Cell& cell, host::ColumnType type) {
  if (cell.is_null) return lua_pushnil(lua);
  switch (type) {
    case host::ColumnType::kText:
    case host::ColumnType::kAny:
      lua_pushlstring(lua, cell.text.data(), cell.text.size());
      break;
    case host::ColumnType::kFlag:
      lua_pushboolean(lua, cell.number != 0);
      break;
    case host::ColumnType::kNumber:
    case host::ColumnType::kTime:
      lua_pushinteger(lua, cell.number);
      break;
    case host::ColumnType::kIds:
      push_ids(lua, cell.text);
      break;
  }
}

// The names are constants, which Lua finds by their address when they come again.
void push_record(lua_State* lua, const OpenRows& rows) {
  const auto columns = rows.set->columns;
  lua_createtable(lua, 0, static_cast<int>(columns.size()));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (is_left_out(columns[i])) continue;
    const host::Cell cell = rows.reader->cell(i);
    if (cell.is_null) continue;
    push_cell(lua, cell, columns[i].type);
    lua_setfield(lua, -2, columns[i].name.data());
  }
}

template <class Work>
int guarded_rows(lua_State* lua, const char* set, Work work) {
  const auto checked = [lua, work] { return session_of(lua), work(); };
  return guarded_by(lua, checked, [set](lua_State* inner, const char* message) {
    push_layer_error(inner, set, message);
  });
}

auto find_rows(lua_State* lua) {
  return context_of(lua).rows.find(lua_type(lua, 1) == LUA_TUSERDATA ? lua_touserdata(lua, 1)
                                                                     : nullptr);
}

// The rows that the first argument stands for; null when they are closed.
OpenRows* rows_of(lua_State* lua) {
  const auto& all = context_of(lua).rows;
  const auto found = find_rows(lua);
  if (found == all.end()) return nullptr;
  if (found->second.is_busy) luaL_error(lua, "a row of these rows is being read already");
  return &found->second;
}

// The end of a loop, in whatever way it ends. The module's objects are freed.
int close_rows(lua_State* lua) {
  auto& all = context_of(lua).rows;
  const auto found = find_rows(lua);
  if (found != all.end() && !found->second.is_busy) all.erase(found);
  return 0;
}

int next_row(lua_State* lua) {
  OpenRows* rows = rows_of(lua);
  if (!rows) return 0;
  // Only what needs no destructor lives here: an error of Lua leaves by a long jump.
  const auto work = [lua, rows] {
    rows->is_busy = true;
    const bool is_row = rows->reader->next();
    if (is_row) push_record(lua, *rows);
    rows->is_busy = false;
    if (is_row) {
      ++rows->number;
    } else {
      close_rows(lua);
    }
    return true;
  };
  if (guarded_rows(lua, rows->set->name.data(), work) == 0) return 0;
  if (lua_getiuservalue(lua, 1, 1) == LUA_TFUNCTION) {
    lua_pushvalue(lua, -2);
    lua_pushinteger(lua, rows->number);
    lua_call(lua, 2, 0);
  } else {
    lua_pop(lua, 1);
  }
  return 1;
}

// The columns that the table of a command has.
ColumnList columns_of_table(const host::RowSet& set) {
  ColumnList columns;
  for (const std::string& name : table_columns(set.name)) {
    columns.push_back(static_cast<std::size_t>(set.find(name)));
  }
  return columns;
}

void print_some(OpenRows& rows, lua_Integer most) {
  const auto writer = make_writer(Format::kTable, *rows.set, columns_of_table(*rows.set), stdout);
  lua_Integer count = 0;
  for (; count < most && rows.reader->next(); ++count, ++rows.number) writer->row(*rows.reader);
  writer->end();
  if (count == most) {
    std::printf("These are %lld rows; there may be more.\n", static_cast<long long>(most));
  }
}

// rows:field(column, number) -> whether the rows are still at that one, the value of the column.
int read_field(lua_State* lua) {
  const char* name = luaL_checkstring(lua, 2);
  const lua_Integer number = luaL_checkinteger(lua, 3);
  OpenRows* rows = rows_of(lua);
  const int column = rows ? rows->set->find(name) : -1;
  const bool is_there = rows && column >= 0 && number > 0 && rows->number == number;
  lua_pushboolean(lua, is_there);
  if (!is_there) return 1;
  return 1 + guarded_rows(lua, rows->set->name.data(), [lua, rows, column] {
           const auto place = static_cast<std::size_t>(column);
           rows->is_busy = true;
           push_cell(lua, rows->reader->cell(place), rows->set->columns[place].type);
           rows->is_busy = false;
           return true;
         });
}

constexpr luaL_Reg kMetamethods[] = {
    {"__call", next_row}, {"__close", close_rows}, {"__gc", close_rows}, {nullptr, nullptr}};
constexpr luaL_Reg kMethods[] = {{"close", close_rows}, {"field", read_field}, {nullptr, nullptr}};

}  // namespace

int print_rows(lua_State* lua) {
  const lua_Integer most = luaL_checkinteger(lua, 2);
  OpenRows* rows = rows_of(lua);
  if (!rows) return 0;
  return guarded_rows(lua, rows->set->name.data(), [rows, most] {
    rows->is_busy = true;
    print_some(*rows, most);
    rows->is_busy = false;
    return true;
  });
}

int open_rows(lua_State* lua) {
  const char* path = luaL_checkstring(lua, 1);
  const host::RowSet* set = host::find_row_set(luaL_checkstring(lua, 2));
  luaL_argcheck(lua, set != nullptr, 2, "no set of rows");
  lua_settop(lua, 4);
  check_query(lua, 3);
  lua_settop(lua, 4);
  void* place = lua_newuserdatauv(lua, 1, 1);
  luaL_setmetatable(lua, kRowsType);
  lua_pushvalue(lua, 4);
  lua_setiuservalue(lua, -2, 1);
  guarded_rows(lua, set->name.data(), [lua, path, set, place] {
    LuaContext& context = context_of(lua);
    const host::Repository repository(context.session.host(), context.session.module(), path);
    context.rows[place] = {set, set->open(repository, read_query(lua, 3)), 0, false};
    return true;
  });
  lua_settop(lua, 5);
  lua_pushnil(lua);
  lua_pushnil(lua);
  lua_pushvalue(lua, 5);
  return 4;
}

int list_row_sets(lua_State* lua) {
  lua_newtable(lua);
  lua_Integer number = 0;
  for (const host::RowSet& set : host::row_sets()) {
    lua_createtable(lua, 0, 2);
    lua_pushlstring(lua, set.name.data(), set.name.size());
    lua_setfield(lua, -2, "name");
    lua_pushboolean(lua, set.is_of_two_commits);
    lua_setfield(lua, -2, "is_of_two_commits");
    lua_rawseti(lua, -2, ++number);
  }
  return 1;
}

void add_rows(lua_State* lua) {
  luaL_newmetatable(lua, kRowsType);
  luaL_setfuncs(lua, kMetamethods, 0);
  luaL_newlib(lua, kMethods);
  lua_setfield(lua, -2, "__index");
  lua_pop(lua, 1);
}

void push_layer_error(lua_State* lua, const char* function, const char* message) {
  lua_createtable(lua, 0, 4);
  lua_pushstring(lua, function);
  lua_setfield(lua, -2, "function");
  lua_pushstring(lua, message);
  lua_setfield(lua, -2, "message");
  lua_newtable(lua);
  lua_setfield(lua, -2, "log");
  luaL_setmetatable(lua, kErrorType);
}

}  // namespace uwugit::runner
