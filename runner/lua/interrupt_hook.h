// Ctrl-C in Lua code.
#pragma once

#include <lua.hpp>

namespace uwugit::runner {

// From now on Lua code of this state, and of coroutines that it makes, ends with the error
// "interrupted" when Ctrl-C was noted. A program that catches the error meets it again.
void look_for_interrupts(lua_State* lua);

// The same for code that calls a function of ours, at the very next instruction.
void end_if_interrupted(lua_State* lua);

}  // namespace uwugit::runner
