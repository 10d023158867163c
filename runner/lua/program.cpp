#include "program.h"

#include <cstdio>
#include <new>

#include "binding.h"
#include "interrupt.h"
#include "lua/catalogue.h"
#include "lua/guard.h"
#include "lua/interrupt_hook.h"
#include "lua/layer.h"

namespace uwugit::runner {
namespace {

// Adds to an error through which calls of the program it came. An error that is not a text is shown
// as Lua would show it.
int add_traceback(lua_State* lua) {
  luaL_tolstring(lua, 1, nullptr);
  push_shell_function(lua, "shorten");
  luaL_traceback(lua, lua, nullptr, 1);
  lua_pushvalue(lua, -1);
  lua_insert(lua, -3);
  if (lua_pcall(lua, 1, 1, 0) != LUA_OK) {  // as when the stack is full
    lua_pop(lua, 1);
    lua_pushliteral(lua, "\n");
    lua_insert(lua, -2);
  } else {
    lua_remove(lua, -2);
  }
  lua_concat(lua, lua_gettop(lua) - 1);
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
}

// Sets the table `arg` and leaves the arguments on the stack; answers their number.
int push_arguments(lua_State* lua, const std::string& file,
                   std::span<const std::string> arguments) {
  const int count = static_cast<int>(arguments.size());
  luaL_checkstack(lua, count + 3, "too many arguments");
  lua_createtable(lua, count, 1);
  lua_pushstring(lua, file.c_str());
  lua_rawseti(lua, -2, 0);
  const int table = lua_gettop(lua);
  for (int i = 1; i <= count; ++i) {
    const std::string& argument = arguments[static_cast<std::size_t>(i) - 1];
    lua_pushlstring(lua, argument.data(), argument.size());
    lua_pushvalue(lua, -1);
    lua_rawseti(lua, table, i);
  }
  lua_pushvalue(lua, table);
  lua_setglobal(lua, "arg");
  lua_remove(lua, table);
  return count;
}

// Loads a line as an expression, whose values are then shown, or else as a statement. Leaves the
// message on the stack when it is neither.
bool load_line(lua_State* lua, const std::string& line) {
  const auto load = [lua](const std::string& text) {
    return luaL_loadbuffer(lua, text.data(), text.size(), text.c_str()) == LUA_OK;
  };
  if (load("return " + line)) return true;
  lua_pop(lua, 1);
  return load(line);
}

// Whether Lua's message about a line says that more was to come.
bool is_cut_short(lua_State* lua) {
  std::size_t length = 0;
  const char* message = lua_tolstring(lua, -1, &length);
  return std::string_view(message, length).ends_with("near <eof>");
}

// Leaves the answers of a loaded line behind what shows them.
bool show_answers(lua_State* lua) {
  push_shell_function(lua, "show");  // which may call what the values show themselves with
  lua_insert(lua, 1);
  return call_with_traceback(lua, lua_gettop(lua) - 1);
}

// complete(line) -> the beginning of a name, the names that begin so; nothing for a file's name.
int call_complete(lua_State* lua) {
  push_shell_function(lua, "complete");
  lua_insert(lua, 1);
  lua_pushcfunction(lua, list_parameters);
  lua_call(lua, 2, 2);
  return 2;
}

// help(what) -> an explanation, the name of a function, or nil.
int call_help(lua_State* lua) {
  push_shell_function(lua, "help");
  lua_insert(lua, 1);
  lua_call(lua, 1, 1);
  return 1;
}

}  // namespace

void LuaProgram::Closer::operator()(lua_State* state) const { lua_close(state); }

LuaProgram::LuaProgram(Session& session)
    : context_(std::make_unique<LuaContext>(session)), lua_(luaL_newstate()) {
  if (!lua_) throw std::bad_alloc();
  luaL_openlibs(lua_.get());
  add_tables(lua_.get(), *context_);
  add_layer(lua_.get());
}

LuaProgram::~LuaProgram() = default;

bool LuaProgram::run_loaded(bool is_loaded, const std::string& name,
                            std::span<const std::string> arguments) {
  lua_State* lua = lua_.get();
  const bool is_done = is_loaded && call_with_traceback(lua, push_arguments(lua, name, arguments));
  if (!is_done && !is_interrupted()) report_error(lua);
  lua_settop(lua, 0);
  return is_done;
}

bool LuaProgram::run_file(const std::string& file, std::span<const std::string> arguments) {
  const char* const name = file == "-" ? nullptr : file.c_str();
  return run_loaded(luaL_loadfile(lua_.get(), name) == LUA_OK, file, arguments);
}

bool LuaProgram::run_text(const std::string& text, std::span<const std::string> arguments) {
  const int status = luaL_loadbuffer(lua_.get(), text.data(), text.size(), "=(command line)");
  return run_loaded(status == LUA_OK, "-e", arguments);
}

LuaProgram::Line LuaProgram::run_line(const std::string& line, bool is_last) {
  lua_State* lua = lua_.get();
  lua_settop(lua, 0);
  const bool is_loaded = load_line(lua, line);
  if (!is_loaded && !is_last && is_cut_short(lua)) {
    lua_settop(lua, 0);
    return Line::kIncomplete;
  }
  look_for_interrupts(lua);
  const Interruptible interruptible;
  const bool is_done = is_loaded && call_with_traceback(lua, 0) && show_answers(lua);
  if (!is_done && !is_interrupted()) report_error(lua);
  lua_settop(lua, 0);
  return is_done ? Line::kDone : Line::kFailed;
}

Completions LuaProgram::complete(const std::string& line) {
  lua_State* lua = lua_.get();
  Completions found;
  lua_pushcfunction(lua, call_complete);
  lua_pushlstring(lua, line.data(), line.size());
  if (lua_pcall(lua, 1, 2, 0) == LUA_OK) {
    found.is_file_name = lua_isnil(lua, 1) != 0;
    found.typed = found.is_file_name ? 0 : lua_rawlen(lua, 1);
    for (lua_Integer i = 1; !found.is_file_name && lua_rawgeti(lua, 2, i) == LUA_TSTRING; ++i) {
      found.words.emplace_back(lua_tostring(lua, -1));
      lua_pop(lua, 1);
    }
  }
  lua_settop(lua, 0);
  return found;
}

std::string LuaProgram::explain(const std::string& what) {
  lua_State* lua = lua_.get();
  lua_pushcfunction(lua, call_help);
  lua_pushlstring(lua, what.data(), what.size());
  const bool is_explained = lua_pcall(lua, 1, 1, 0) == LUA_OK && lua_isstring(lua, 1);
  std::string text = is_explained ? lua_tostring(lua, 1) : "";
  lua_settop(lua, 0);
  return text;
}

}  // namespace uwugit::runner
