#include "lua/catalogue.h"

#include <lua.hpp>

#include "uwugithost/catalogue.h"

namespace uwugit::runner {
namespace {

void push_text(lua_State* lua, std::string_view text) {
  lua_pushlstring(lua, text.data(), text.size());
}

void push_parameter(lua_State* lua, const host::Parameter& parameter) {
  lua_newtable(lua);
  push_text(lua, parameter.name);
  lua_setfield(lua, -2, "name");
  lua_newtable(lua);
  for (std::size_t i = 0; i < parameter.words.size(); ++i) {
    push_text(lua, parameter.words[i]);
    lua_rawseti(lua, -2, static_cast<lua_Integer>(i) + 1);
  }
  lua_setfield(lua, -2, "words");
  lua_pushboolean(lua, parameter.is_id);
  lua_setfield(lua, -2, "is_id");
}

}  // namespace

int list_parameters(lua_State* lua) {
  const host::Function* function = host::find_function(luaL_checkstring(lua, 1));
  lua_newtable(lua);
  if (!function) return 1;
  lua_Integer number = 0;
  for (const host::Parameter& parameter : function->parameters) {
    if (parameter.kind == host::Kind::kOutput) continue;
    push_parameter(lua, parameter);
    lua_rawseti(lua, -2, ++number);
  }
  return 1;
}

}  // namespace uwugit::runner
