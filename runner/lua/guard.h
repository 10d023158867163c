// What the functions that Lua programs call share: whom they work for, and how an exception becomes
// an error of Lua.
#pragma once

#include <lua.hpp>

#include <memory>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "lua/interrupt_hook.h"
#include "session.h"
#include "uwugithost/rows.h"

namespace uwugit::runner {

// Rows that a program goes through.
struct OpenRows {
  const host::RowSet* set = nullptr;
  std::unique_ptr<host::RowReader> reader;
  lua_Integer number = 0;  // of the row at which it is
  bool is_busy = false;    // a row is being read: what runs meanwhile must leave it alone
};

// Lines of the log on their way into the program.
struct LuaLog {
  explicit LuaLog(host::Log& log);
  ~LuaLog();
  LuaLog(const LuaLog&) = delete;
  LuaLog& operator=(const LuaLog&) = delete;

  lua_State* active = nullptr;  // what does the work that writes to the log
  bool is_in_function = false;  // the program's
  bool has_failed = false;      // the function: its error is in the registry
  char error_key = 0;           // whose place is the key

 private:
  void write(const host::LogLine& line);

  host::Log& log_;
  host::Log::Sink usual_;
};

// The rows are found by the place of the value that stands for them in Lua, so that a program that
// exchanges metatables can at worst take the rows of another loop.
struct LuaContext {
  explicit LuaContext(Session& of) : session(of), log(of.host().log()) {}
  Session& session;
  LuaLog log;
  std::unordered_map<const void*, OpenRows> rows;
};

// It lies in the room that Lua has for its host beside each state and coroutine: no program reaches
// it there.
inline LuaContext*& context_place(lua_State* lua) {
  return *static_cast<LuaContext**>(lua_getextraspace(lua));
}
inline LuaContext& context_of(lua_State* lua) { return *context_place(lua); }
// Throws while a function of the program is given a line of the log: the call that wrote the line
// is not done, and the module does one at a time.
inline Session& session_of(lua_State* lua) {
  if (!context_of(lua).log.is_in_function) return context_of(lua).session;
  throw std::runtime_error("the function of host.on_log cannot work with git");
}

// What may raise an error of Lua, such as that there is no memory, is protected as long as there
// are C++ values: Lua leaves by a long jump. Answers false with the error as the last value.
template <class Push>
bool push_protected(lua_State* lua, Push push) {
  lua_pushcfunction(lua, [](lua_State* inner) {
    Push& work = *static_cast<Push*>(lua_touserdata(inner, 1));
    return work(inner);
  });
  lua_pushlightuserdata(lua, &push);
  return lua_pcall(lua, 1, LUA_MULTRET, 0) == LUA_OK;
}

// Does work that pushes its results and answers whether all went well. What it throws becomes an
// error of Lua, made by `push_error`, which is raised when all C++ values are gone.
template <class Work, class PushError>
int guarded_by(lua_State* lua, Work work, PushError push_error) {
  const int arguments = lua_gettop(lua);
  bool is_done = false;
  LuaLog& log = context_of(lua).log;
  lua_State* const outer = std::exchange(log.active, lua);
  try {
    is_done = work();
  } catch (const std::exception& error) {
    push_protected(lua, [&](lua_State* inner) { return push_error(inner, error.what()), 1; });
  }
  log.active = outer;
  end_if_interrupted(lua);
  if (!outer && std::exchange(log.has_failed, false) && is_done) {
    lua_rawgetp(lua, LUA_REGISTRYINDEX, &log.error_key);
    is_done = false;
  }
  return is_done ? lua_gettop(lua) - arguments : lua_error(lua);
}

// An argument for a function of the module. Throws host::UsageError when it can be none.
host::Value value_from_stack(lua_State* lua, int position, const host::Function& function);

}  // namespace uwugit::runner
