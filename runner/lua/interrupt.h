// Ctrl-C while Lua code runs.
#pragma once

#include <lua.hpp>

namespace uwugit::runner {

// From now on Lua code of this state, and of coroutines that it makes, can be interrupted.
void allow_interrupts(lua_State* lua);

// While this lives Ctrl-C raises an error in the Lua code that runs, when it has come back from
// what it called. A second Ctrl-C ends the process.
class Interruptible {
 public:
  Interruptible();
  ~Interruptible();
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;

  bool is_interrupted() const;
};

}  // namespace uwugit::runner
