#include "binding.h"

#include <filesystem>

#include "lua/guard.h"
#include "lua/log.h"
#include "process.h"
#include "temporary_folders.h"

namespace uwugit::runner {
namespace {

// The error is a text that begins with the place in the program.
template <class Work>
int guarded(lua_State* lua, Work work) {
  return guarded_by(lua, work, [](lua_State* inner, const char* message) {
    luaL_where(inner, 2);
    lua_pushstring(inner, message);
    lua_concat(inner, 2);
  });
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

// The function of the catalogue that a function of the table `git` stands for: its number is an
// upvalue, which programs can change with Lua's library `debug`.
const host::Function& function_of(lua_State* lua) {
  int is_number = 0;
  const auto number =
      static_cast<std::size_t>(lua_tointegerx(lua, lua_upvalueindex(1), &is_number));
  if (!is_number || number >= host::catalogue().size()) {
    luaL_error(lua, "this is no function of git any more: its upvalue was changed");
  }
  return host::catalogue()[number];
}

// Every function of the table `git`.
int call_git(lua_State* lua) {
  const host::Function& function = function_of(lua);
  return guarded(lua, [lua, &function] {
    std::vector<host::Value> values;
    for (int i = 1; i <= lua_gettop(lua); ++i) values.push_back(value_from_stack(lua, i, function));
    const host::Outcome outcome = session_of(lua).call(function, values);
    return push_protected(lua, [&](lua_State* inner) { return push_outcome(inner, outcome); });
  });
}

// host.note(text) and host.error(text): lines in the host's log.
int write_note(lua_State* lua) {
  const char* text = luaL_checkstring(lua, 1);
  return guarded(lua,
                 [lua, text] { return context_of(lua).session.host().log().note(text), true; });
}
int write_error(lua_State* lua) {
  const char* text = luaL_checkstring(lua, 1);
  return guarded(lua,
                 [lua, text] { return context_of(lua).session.host().log().error(text), true; });
}

// host.run(command, argument...) -> exit status, output: runs a command without a shell.
int run_command(lua_State* lua) {
  for (int i = 1; i <= lua_gettop(lua); ++i) luaL_checkstring(lua, i);
  luaL_checkany(lua, 1);
  return guarded(lua, [lua] {
    std::vector<std::string> command;
    for (int i = 1; i <= lua_gettop(lua); ++i) command.emplace_back(lua_tostring(lua, i));
    const CommandResult result = run(command);
    return push_protected(lua, [&result](lua_State* inner) {
      lua_pushinteger(inner, result.status);
      lua_pushlstring(inner, result.output.data(), result.output.size());
      return 2;
    });
  });
}

// host.temporary_folder() -> path of a new empty folder, which is removed when the process ends.
int answer_temporary_folder(lua_State* lua) {
  return guarded(lua, [lua] {
    const std::filesystem::path folder = make_temporary_folder();
    return push_protected(lua, [&folder](lua_State* inner) {
      lua_pushstring(inner, folder.c_str());
      return 1;
    });
  });
}

// host.remove(path): a file, or a folder with all that is in it.
int remove_path(lua_State* lua) {
  const char* path = luaL_checkstring(lua, 1);
  return guarded(lua, [path] { return std::filesystem::remove_all(path), true; });
}

constexpr luaL_Reg kHostFunctions[] = {
    {"error", write_error},  {"note", write_note}, {"on_log", set_log_function},
    {"remove", remove_path}, {"run", run_command}, {"temporary_folder", answer_temporary_folder},
    {nullptr, nullptr},
};

}  // namespace

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

void add_tables(lua_State* lua, LuaContext& context) {
  context_place(lua) = &context;  // new coroutines copy it
  lua_newtable(lua);
  lua_Integer number = 0;
  for (const host::Function& function : host::catalogue()) {
    lua_pushinteger(lua, number++);
    lua_pushcclosure(lua, call_git, 1);
    lua_setfield(lua, -2, std::string(function.name).c_str());
  }
  lua_setglobal(lua, "git");
  luaL_newlib(lua, kHostFunctions);
  lua_setglobal(lua, "host");
}

}  // namespace uwugit::runner
