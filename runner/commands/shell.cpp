// The interactive shell: Lua, line by line, with the module loaded.
#include <editline/readline.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "format/wrap.h"
#include "lua/program.h"

namespace uwugit::runner {
namespace {

constexpr char kGreeting[] =
    "uwugit " UWUGIT_VERSION
    ": Lua with the git functions in the table `git`. An empty line does\n"
    "nothing; `functions` lists the functions, `help NAME` explains one, `exit` or Ctrl-D ends.\n";

std::optional<std::string> read_line(bool is_interactive, const char* prompt) {
  if (!is_interactive) {
    std::string line;
    return std::getline(std::cin, line) ? std::optional(line) : std::nullopt;
  }
  const std::unique_ptr<char, decltype(&std::free)> line(readline(prompt), std::free);
  if (!line) {
    std::printf("\n");
    return std::nullopt;
  }
  if (*line) add_history(line.get());
  return std::string(line.get());
}

void show_help(const std::string& name) {
  if (const host::Function* function = host::find_function(name)) {
    print_help(host::describe(*function));
  } else {
    std::printf("%s\n", about_missing_function(name).c_str());
  }
}

// Does what one of the shell's own words asks for; false when the line is none of them.
bool do_shell_word(const std::string& line) {
  constexpr std::string_view help = "help ";
  if (line == "functions") {
    show_functions("", CatalogueForm::kText);
  } else if (line.starts_with(help)) {
    show_help(line.substr(help.size()));
  } else {
    return false;
  }
  return true;
}

}  // namespace

int run_shell(const SessionOptions& options) {
  Session session(options);
  LuaProgram lua(session);
  const bool is_interactive = isatty(STDIN_FILENO) != 0;
  if (is_interactive) std::fputs(kGreeting, stdout);
  std::string input;
  while (const auto line = read_line(is_interactive, input.empty() ? "uwugit> " : "   ...> ")) {
    if (input.empty() && (*line == "exit" || *line == "quit")) break;
    if (input.empty() && (line->empty() || do_shell_word(*line))) continue;
    if (!input.empty()) input += '\n';
    input += *line;
    bool is_incomplete = false;
    lua.run_line(input, &is_incomplete);
    if (!is_incomplete) input.clear();
    std::fflush(stdout);
  }
  return kExitSuccess;
}

}  // namespace uwugit::runner
