#include "lua/interrupt_hook.h"

#include <initializer_list>

#include "interrupt.h"

namespace uwugit::runner {
namespace {

constexpr int kInstructions = 10000;  // of Lua between two looks

void look(lua_State* lua, lua_Debug*);

// From now on each instruction is looked at, so that code that catches the error again and again
// meets it outside of what catches it.
void look_at_once(lua_State* lua) {
  lua_rawgeti(lua, LUA_REGISTRYINDEX, LUA_RIDX_MAINTHREAD);
  lua_State* const main = lua_tothread(lua, -1);
  lua_pop(lua, 1);
  for (lua_State* state : {lua, main}) lua_sethook(state, look, LUA_MASKCOUNT, 1);
}

void look(lua_State* lua, lua_Debug*) {
  if (!is_interrupted()) return;
  look_at_once(lua);
  lua_pushliteral(lua, "interrupted");
  lua_error(lua);
}

}  // namespace

void look_for_interrupts(lua_State* lua) { lua_sethook(lua, look, LUA_MASKCOUNT, kInstructions); }

void end_if_interrupted(lua_State* lua) {
  if (is_interrupted()) look_at_once(lua);
}

}  // namespace uwugit::runner
