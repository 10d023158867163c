#include "lua/layer.h"

#include <stdexcept>
#include <thread>

#include "format/wrap.h"
#include "lua/guard.h"
#include "lua/rows.h"

namespace uwugit::runner {
namespace {

host::Repository repository_at(lua_State* lua, const char* place) {
  return {session_of(lua).host(), session_of(lua).module(), place};
}

// Does work that answers a text.
template <class Work>
int answer_text(lua_State* lua, const char* function, Work work) {
  const auto answer = [lua, work] {
    const std::string text = work();
    return push_protected(lua, [&text](lua_State* inner) {
      lua_pushlstring(inner, text.data(), text.size());
      return 1;
    });
  };
  return guarded_by(lua, answer, [function](lua_State* inner, const char* message) {
    push_layer_error(inner, function, message);
  });
}

// find(place) -> the path of the repository in which it is.
int find_repository(lua_State* lua) {
  const char* place = luaL_checkstring(lua, 1);
  return answer_text(lua, "open", [=] { return repository_at(lua, place).path(); });
}

// resolve(path, name) -> the id of the commit.
int resolve_name(lua_State* lua) {
  const char* path = luaL_checkstring(lua, 1);
  const char* name = luaL_checkstring(lua, 2);
  return answer_text(lua, "resolve", [=] { return repository_at(lua, path).commit_id(name); });
}

// try_resolve(path, name) -> the same, or an empty text.
int try_resolve_name(lua_State* lua) {
  const char* path = luaL_checkstring(lua, 1);
  const char* name = luaL_checkstring(lua, 2);
  return answer_text(lua, "resolve", [=] { return repository_at(lua, path).find_commit(name); });
}

// identity(path, "name" or "email") -> what git's configuration has.
int read_identity(lua_State* lua) {
  const char* path = luaL_checkstring(lua, 1);
  const bool is_name = std::string_view(luaL_checkstring(lua, 2)) == "name";
  return answer_text(lua, "identity", [=] {
    const host::Identity identity = repository_at(lua, path).identity();
    return is_name ? identity.name : identity.email;
  });
}

void set_text(lua_State* lua, const char* field, std::string_view text) {
  lua_pushlstring(lua, text.data(), text.size());
  lua_setfield(lua, -2, field);
}

int push_result(lua_State* lua, const host::Function& function, const host::Outcome& outcome,
                const std::vector<std::string>& lines) {
  lua_newtable(lua);
  if (outcome.result.is_unchanged) {
    set_text(lua, "code", "unchanged");
  } else {
    lua_pushinteger(lua, static_cast<lua_Integer>(outcome.result.code));
    lua_setfield(lua, -2, "code");
  }
  lua_pushboolean(lua, outcome.is_success);
  lua_setfield(lua, -2, "success");
  const host::ResultRow* row = host::find_result(function, outcome.result);
  if (row) set_text(lua, "meaning", row->meaning);
  lua_createtable(lua, static_cast<int>(lines.size()), 0);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    lua_pushlstring(lua, lines[i].data(), lines[i].size());
    lua_rawseti(lua, -2, static_cast<lua_Integer>(i) + 1);
  }
  lua_setfield(lua, -2, "log");
  return 1;
}

// call(function, argument...) -> {code=, success=, meaning=, log=}: calls a function of the module;
// what it logs is not shown.
int call_captured(lua_State* lua) {
  const host::Function* function = host::find_function(luaL_checkstring(lua, 1));
  if (!function) return luaL_argerror(lua, 1, "no function of the module");
  while (lua_isnil(lua, -1)) lua_pop(lua, 1);  // what is left out at the end
  const auto work = [lua, function] {
    std::vector<host::Value> values;
    for (int i = 2; i <= lua_gettop(lua); ++i) {
      values.push_back(value_from_stack(lua, i, *function));
    }
    const host::LogCapture log(session_of(lua).host().log());
    const host::Outcome outcome = session_of(lua).call(*function, values);
    std::vector<std::string> lines;
    for (const host::LogLine& line : log.lines()) lines.push_back(line.rendered());
    return push_protected(
        lua, [&](lua_State* inner) { return push_result(inner, *function, outcome, lines); });
  };
  return guarded_by(lua, work, [function](lua_State* inner, const char* message) {
    push_layer_error(inner, function->name.data(), message);
  });
}

// width() -> the columns of the terminal.
int answer_width(lua_State* lua) {
  lua_pushinteger(lua, static_cast<lua_Integer>(width_of_help()));
  return 1;
}

constexpr luaL_Reg kFunctions[] = {
    {"call", call_captured},    {"find", find_repository},         {"identity", read_identity},
    {"print_rows", print_rows}, {"resolve", resolve_name},         {"rows", open_rows},
    {"sets", list_row_sets},    {"try_resolve", try_resolve_name}, {"width", answer_width},
    {nullptr, nullptr},
};

constexpr char kCore = 0;  // its place is the key in Lua's registry

// Leaves the table of what the files in Lua are given on the stack.
void push_core(lua_State* lua) {
  luaL_newlib(lua, kFunctions);
  luaL_newmetatable(lua, kErrorType);
  lua_setfield(lua, -2, "error");
  add_rows(lua);
  luaL_newmetatable(lua, kRowsType);
  lua_setfield(lua, -2, "rows_type");
  lua_pushinteger(lua, std::max(1u, std::thread::hardware_concurrency()));
  lua_setfield(lua, -2, "processors");
}

}  // namespace

void add_layer(lua_State* lua) {
  push_core(lua);
  lua_newtable(lua);  // what the files share
  for (const LuaFile& file : layer_files()) {
    bool is_done =
        luaL_loadbufferx(lua, file.text.data(), file.text.size(), file.name, "t") == LUA_OK;
    if (is_done) {
      lua_pushvalue(lua, -3);
      lua_pushvalue(lua, -3);
      is_done = lua_pcall(lua, 2, 0, 0) == LUA_OK;
    }
    if (!is_done) throw std::runtime_error(luaL_tolstring(lua, -1, nullptr));
  }
  lua_pop(lua, 1);
  lua_rawsetp(lua, LUA_REGISTRYINDEX, &kCore);
  lua_settop(lua, 0);
}

void push_shell_function(lua_State* lua, const char* name) {
  lua_rawgetp(lua, LUA_REGISTRYINDEX, &kCore);
  lua_getfield(lua, -1, name);
  lua_remove(lua, -2);
}

}  // namespace uwugit::runner
