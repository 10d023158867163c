#include "program.h"

#include <lua.hpp>

#include <cstdio>
#include <cstring>
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

std::vector<host::Value> values_from_stack(lua_State* lua) {
  std::vector<host::Value> values;
  for (int i = 1; i <= lua_gettop(lua); ++i) {
    if (lua_type(lua, i) == LUA_TNUMBER) {
      values.emplace_back(static_cast<double>(lua_tonumber(lua, i)));
    } else if (lua_type(lua, i) == LUA_TSTRING) {
      std::size_t length = 0;
      const char* text = lua_tolstring(lua, i, &length);
      values.emplace_back(std::string(text, length));
    } else {
      throw host::UsageError("argument " + std::to_string(i) + " is a " + luaL_typename(lua, i) +
                             "; texts and numbers can be given");
    }
  }
  return values;
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

int call_git(lua_State* lua) {
  return guarded(lua, [lua] {
    const auto* function =
        static_cast<const host::Function*>(lua_touserdata(lua, lua_upvalueindex(2)));
    std::vector<host::Value> values;
    try {
      values = values_from_stack(lua);
    } catch (const host::UsageError& error) {
      throw host::UsageError(std::string(function->name) + ": " + error.what() +
                             "\nusage: " + host::usage(*function));
    }
    const host::Outcome outcome = session_of(lua).call(*function, values);
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

void open_libraries(lua_State* lua, Session& session) {
  luaL_openlibs(lua);
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

// Adds the way to the error; an error that is not a text is shown as Lua would show it.
int add_traceback(lua_State* lua) {
  const char* message = luaL_tolstring(lua, 1, nullptr);
  luaL_traceback(lua, lua, message, 1);
  return 1;
}

bool call_with_traceback(lua_State* lua, int arguments) {
  const int handler = lua_gettop(lua) - arguments;
  lua_pushcfunction(lua, add_traceback);
  lua_insert(lua, handler);
  const int status = lua_pcall(lua, arguments, LUA_MULTRET, handler);
  lua_remove(lua, handler);
  return status == LUA_OK;
}

void report_error(lua_State* lua) {
  std::fflush(stdout);
  std::fprintf(stderr, "uwugit: %s\n", lua_tostring(lua, -1));
  lua_pop(lua, 1);
}

}  // namespace

void LuaProgram::Closer::operator()(lua_State* state) const { lua_close(state); }

LuaProgram::LuaProgram(Session& session) : lua_(luaL_newstate()) {
  if (!lua_) throw std::bad_alloc();
  open_libraries(lua_.get(), session);
}

LuaProgram::~LuaProgram() = default;

bool LuaProgram::run_file(const std::string& file, std::span<const std::string> arguments) {
  lua_State* lua = lua_.get();
  if (luaL_loadfile(lua, file.c_str()) != LUA_OK) {
    report_error(lua);
    return false;
  }
  lua_createtable(lua, static_cast<int>(arguments.size()), 1);
  lua_pushstring(lua, file.c_str());
  lua_rawseti(lua, -2, 0);
  luaL_checkstack(lua, static_cast<int>(arguments.size()) + 2, "too many arguments");
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    lua_pushlstring(lua, arguments[i].data(), arguments[i].size());
    lua_rawseti(lua, -2, static_cast<lua_Integer>(i) + 1);
  }
  lua_setglobal(lua, "arg");
  for (const std::string& argument : arguments) {
    lua_pushlstring(lua, argument.data(), argument.size());
  }
  if (!call_with_traceback(lua, static_cast<int>(arguments.size()))) {
    report_error(lua);
    return false;
  }
  lua_settop(lua, 0);
  return true;
}

void LuaProgram::run_line(const std::string& line, bool* is_incomplete) {
  lua_State* lua = lua_.get();
  *is_incomplete = false;
  // An expression shows its values; anything else is a statement.
  if (luaL_loadstring(lua, ("return " + line).c_str()) != LUA_OK) {
    lua_pop(lua, 1);
    if (luaL_loadstring(lua, line.c_str()) != LUA_OK) {
      std::size_t length = 0;
      const char* message = lua_tolstring(lua, -1, &length);
      *is_incomplete = std::string_view(message, length).ends_with("near <eof>");
      if (*is_incomplete) {
        lua_pop(lua, 1);
      } else {
        report_error(lua);
      }
      return;
    }
  }
  if (!call_with_traceback(lua, 0)) return report_error(lua);
  const int results = lua_gettop(lua);
  for (int i = 1; i <= results; ++i) {
    std::printf("%s%s", i == 1 ? "" : "\t", luaL_tolstring(lua, i, nullptr));
    lua_pop(lua, 1);
  }
  if (results > 0) std::printf("\n");
  lua_settop(lua, 0);
}

}  // namespace uwugit::runner
