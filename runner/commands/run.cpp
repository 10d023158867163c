#include "commands.h"
#include "lua/program.h"

namespace uwugit::runner {

int run_program(const SessionOptions& options, const std::string& program,
                std::span<const std::string> arguments) {
  Session session(options);
  LuaProgram lua(session);
  return lua.run_file(program, arguments) ? kExitSuccess : kExitFailure;
}

int run_text(const SessionOptions& options, const std::string& text,
             std::span<const std::string> arguments) {
  Session session(options);
  LuaProgram lua(session);
  return lua.run_text(text, arguments) ? kExitSuccess : kExitFailure;
}

}  // namespace uwugit::runner
