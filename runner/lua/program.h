// Lua programs, with every function of the catalogue in the table `git`.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "line_editor.h"
#include "session.h"

struct lua_State;

namespace uwugit::runner {

struct LuaContext;

class LuaProgram {
 public:
  explicit LuaProgram(Session& session);
  ~LuaProgram();
  LuaProgram(const LuaProgram&) = delete;
  LuaProgram& operator=(const LuaProgram&) = delete;

  // Runs a file, or stdin when it is "-", with its arguments in `arg` and `...`. Answers false
  // after writing the error, with file and line, to stderr.
  bool run_file(const std::string& file, std::span<const std::string> arguments);
  // The same for a text.
  bool run_text(const std::string& text, std::span<const std::string> arguments);

  // Runs a line of input and shows what it answers. What is incomplete is told as an error when no
  // more is to come. Ctrl-C ends it, which is_interrupted() tells.
  enum class Line { kDone, kFailed, kIncomplete };
  Line run_line(const std::string& line, bool is_last);

  // The names that may be meant at the end of a line.
  Completions complete(const std::string& line);

  // Explains what a path such as "repo.log" leads to, or answers the name of the function of the
  // module that it is. Empty when there is no such thing.
  std::string explain(const std::string& what);

 private:
  bool run_loaded(bool is_loaded, const std::string& name, std::span<const std::string> arguments);

  struct Closer {
    void operator()(lua_State* state) const;
  };
  std::unique_ptr<LuaContext> context_;
  std::unique_ptr<lua_State, Closer> lua_;
};

}  // namespace uwugit::runner
