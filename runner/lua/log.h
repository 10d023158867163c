// The host's log in Lua programs.
#pragma once

#include <lua.hpp>

namespace uwugit::runner {

// host.on_log(function or nil) -> the function that was set before, or nil: each line of the log is
// given to the function, with its severity and text, in place of being shown.
int set_log_function(lua_State* lua);

}  // namespace uwugit::runner
