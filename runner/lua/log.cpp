#include "lua/log.h"

#include "lua/guard.h"

namespace uwugit::runner {
namespace {

constexpr char kLogFunction = 0;  // its place is the key in Lua's registry

}  // namespace

LuaLog::LuaLog(host::Log& log) : log_(log) {
  usual_ = log_.set_sink([this](const host::LogLine& line) { write(line); });
}

LuaLog::~LuaLog() { log_.set_sink(std::move(usual_)); }

void LuaLog::write(const host::LogLine& line) {
  constexpr int kRoom = 8;  // values on the stack
  if (!active || is_in_function || !lua_checkstack(active, kRoom)) return usual_(line);
  const auto away = context_of(active).session.without_status_line();
  bool is_given = false;
  is_in_function = true;
  const std::string severity = line.severity();
  const bool is_done = push_protected(active, [&](lua_State* inner) {
    if (lua_rawgetp(inner, LUA_REGISTRYINDEX, &kLogFunction) != LUA_TFUNCTION) return 0;
    is_given = true;
    lua_pushlstring(inner, severity.data(), severity.size());
    lua_pushlstring(inner, line.text.data(), line.text.size());
    lua_call(inner, 2, 0);
    return 0;
  });
  is_in_function = false;
  if (!is_done) {
    if (!has_failed) lua_rawsetp(active, LUA_REGISTRYINDEX, &error_key);
    if (has_failed) lua_pop(active, 1);
    has_failed = true;
  }
  if (!is_given) usual_(line);
}

int set_log_function(lua_State* lua) {
  if (!lua_isnoneornil(lua, 1)) luaL_checktype(lua, 1, LUA_TFUNCTION);
  lua_settop(lua, 1);
  lua_rawgetp(lua, LUA_REGISTRYINDEX, &kLogFunction);
  lua_pushvalue(lua, 1);
  lua_rawsetp(lua, LUA_REGISTRYINDEX, &kLogFunction);
  return 1;
}

}  // namespace uwugit::runner
