#include "binding.h"

#include <lua.hpp>

#include <filesystem>

#include "process.h"

namespace uwugit::runner {
namespace {

Session& session_of(lua_State* lua) {
  return *static_cast<Session*>(lua_touserdata(lua, lua_upvalueindex(1)));
}

// Lua leaves by a long jump, so an error is raised only when all C++ values are gone.
template <class Work>
int guarded(lua_State* lua, Work work) {
  bool has_failed = false;
  int results = 0;
  try {
    results = work();
  } catch (const std::exception& error) {
    luaL_where(lua, 1);
    lua_pushstring(lua, error.what());
    lua_concat(lua, 2);
    has_failed = true;
  }
  return has_failed ? lua_error(lua) : results;
}

host::Value value_from_stack(lua_State* lua, int position, const host::Function& function) {
  if (lua_type(lua, position) == LUA_TNUMBER) {
    return static_cast<double>(lua_tonumber(lua, position));
  }
  if (lua_type(lua, position) == LUA_TSTRING) {
    std::size_t length = 0;
    const char* text = lua_tolstring(lua, position, &length);
    return std::string(text, length);
  }
  throw host::UsageError(function, "argument " + std::to_string(position) + " is a " +
                                       luaL_typename(lua, position) +
                                       "; texts and numbers can be given");
}

int push_outcome(lua_State* lua, const host::Outcome& outcome) {
  if (outcome.result.is_unchanged && outcome.result.returned != 0) {
    lua_pushinteger(lua, outcome.result.returned);  // how a function without a code says "no"
  } else if (outcome.result.is_unchanged) {
    lua_pushliteral(lua, "unchanged");
  } else if (const lua_Number code = outcome.result.code; lua_Number(lua_Integer(code)) == code) {
    lua_pushinteger(lua, lua_Integer(code));
  } else {
    lua_pushnumber(lua, code);
  }
  for (const host::OutputValue& output : outcome.outputs) {
    lua_pushlstring(lua, output.text.data(), output.text.size());
  }
  return 1 + static_cast<int>(outcome.outputs.size());
}

// Every function of the table `git`.
int call_git(lua_State* lua) {
  return guarded(lua, [lua] {
    const auto& function =
        *static_cast<const host::Function*>(lua_touserdata(lua, lua_upvalueindex(2)));
    std::vector<host::Value> values;
    for (int i = 1; i <= lua_gettop(lua); ++i) values.push_back(value_from_stack(lua, i, function));
    const host::Outcome outcome = session_of(lua).call(function, values);
    luaL_checkstack(lua, 1 + static_cast<int>(outcome.outputs.size()), nullptr);
    return push_outcome(lua, outcome);
  });
}

// host.note(text) and host.error(text): lines in the host's log.
int write_note(lua_State* lua) {
  session_of(lua).host().log().note(luaL_checkstring(lua, 1));
  return 0;
}
int write_error(lua_State* lua) {
  session_of(lua).host().log().error(luaL_checkstring(lua, 1));
  return 0;
}

// host.run(command, argument...) -> exit status, output: runs a command without a shell.
int run_command(lua_State* lua) {
  for (int i = 1; i <= lua_gettop(lua); ++i) luaL_checkstring(lua, i);
  luaL_checkany(lua, 1);
  return guarded(lua, [lua] {
    std::vector<std::string> command;
    for (int i = 1; i <= lua_gettop(lua); ++i) command.emplace_back(lua_tostring(lua, i));
    const CommandResult result = run(command);
    lua_pushinteger(lua, result.status);
    lua_pushlstring(lua, result.output.data(), result.output.size());
    return 2;
  });
}

// host.temporary_folder() -> path of a new empty folder.
int make_temporary_folder(lua_State* lua) {
  return guarded(lua, [lua] {
    lua_pushstring(lua, temporary_folder().c_str());
    return 1;
  });
}

// host.remove(path): a file, or a folder with all that is in it.
int remove_path(lua_State* lua) {
  const char* path = luaL_checkstring(lua, 1);
  return guarded(lua, [path] {
    std::filesystem::remove_all(path);
    return 0;
  });
}

constexpr luaL_Reg kHostFunctions[] = {
    {"error", write_error},
    {"note", write_note},
    {"remove", remove_path},
    {"run", run_command},
    {"temporary_folder", make_temporary_folder},
    {nullptr, nullptr},
};

}  // namespace

void add_tables(lua_State* lua, Session& session) {
  lua_newtable(lua);
  for (const host::Function& function : host::catalogue()) {
    lua_pushlightuserdata(lua, &session);
    lua_pushlightuserdata(lua, const_cast<host::Function*>(&function));
    lua_pushcclosure(lua, call_git, 2);
    lua_setfield(lua, -2, std::string(function.name).c_str());
  }
  lua_setglobal(lua, "git");
  lua_newtable(lua);
  lua_pushlightuserdata(lua, &session);
  luaL_setfuncs(lua, kHostFunctions, 1);
  lua_setglobal(lua, "host");
}

}  // namespace uwugit::runner
