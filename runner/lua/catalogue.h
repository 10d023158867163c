// The catalogue of the module's functions, for the shell.
#pragma once

struct lua_State;

namespace uwugit::runner {

// parameters(function) -> a list of the arguments that are given, each {name=, words=, is_id=};
// empty when there is no such function.
int list_parameters(lua_State* lua);

}  // namespace uwugit::runner
