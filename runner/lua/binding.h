// What Lua programs are given beside Lua's own libraries.
#pragma once

#include "session.h"

struct lua_State;

namespace uwugit::runner {

// Adds the tables `git`, with every function of the catalogue, and `host`, with what programs need
// to work with other programs and with the host's log. The session must outlive the state.
void add_tables(lua_State* lua, Session& session);

}  // namespace uwugit::runner
