// The layer above the functions of the table `git`: repositories as objects, results as records,
// failures as errors. Most of it is written in Lua, one file a subject, embedded in the command.
#pragma once

#include <span>
#include <string_view>

struct lua_State;

namespace uwugit::runner {

// Adds git.open, git.clone and git.init, after add_tables. Throws std::runtime_error.
void add_layer(lua_State* lua);

// Leaves a function on the stack that the files in Lua have added: show, complete, help, shorten.
void push_shell_function(lua_State* lua, const char* name);

// The files in Lua, in the order in which they are run.
struct LuaFile {
  const char* name;
  std::string_view text;
};
std::span<const LuaFile> layer_files();

}  // namespace uwugit::runner
