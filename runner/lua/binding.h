// What Lua programs are given beside Lua's own libraries.
#pragma once

struct lua_State;

namespace uwugit::runner {

struct LuaContext;

// Adds the tables `git`, with every function of the catalogue, and `host`, with what programs need
// to work with other programs and with the host's log. The context must outlive the state.
void add_tables(lua_State* lua, LuaContext& context);

}  // namespace uwugit::runner
