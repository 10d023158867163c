// The interactive shell: Lua, line by line, with the module loaded.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "commands.h"
#include "format/wrap.h"
#include "line_editor.h"
#include "lua/program.h"

namespace uwugit::runner {
namespace {

constexpr char kGreeting[] =
    "uwugit " UWUGIT_VERSION
    ": Lua with the git functions in the table `git`. `help` tells more, `exit`\n"
    "or Ctrl-D ends.\n";

constexpr char kHelp[] =
    "A line is Lua; what it answers is shown, and a line that is not complete goes on.\n"
    "The word `local` at its beginning is passed over, so that later lines know the variable.\n"
    "  repo = git.open(\".\")          a repository: repo:status(), repo:log()\n"
    "  git.get_status(\".\")           one of the functions\n"
    "  functions                     lists the functions\n"
    "  help NAME                     explains a function or a method: help(repo.log), help repo\n"
    "  exit                          ends, as Ctrl-D does\n"
    "Tab completes names, and between quotes branches, attributes and files. Ctrl-C cancels the "
    "line, or stops the Lua code that runs.\n";

// Where lines come from: a terminal, or what has no editing.
class Input {
 public:
  explicit Input(LuaProgram& lua) {
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO)) return;
    editor_.emplace(usual_history_file(),
                    [&lua](const std::string& before) { return lua.complete(before); });
    std::fputs(kGreeting, stdout);
  }

  bool is_terminal() const { return editor_.has_value(); }

  LineEditor::Answer read(const char* prompt, std::string* line) {
    if (editor_) return editor_->read(prompt, line);
    return std::getline(std::cin, *line) ? LineEditor::Answer::kLine : LineEditor::Answer::kEnd;
  }

 private:
  std::optional<LineEditor> editor_;
};

void show_help_of(LuaProgram& lua, const std::string& what) {
  std::string text = what;
  if (!host::find_function(text)) text = lua.explain(what);
  if (const host::Function* function = host::find_function(text)) {
    print_help(host::describe(*function));
  } else if (text.empty()) {
    std::printf("%s\n", about_missing_function(what).c_str());
  } else {
    print_help(text);
  }
}

// Does what one of the shell's own words asks for; false when the line is none of them.
bool do_shell_word(LuaProgram& lua, const std::string& line) {
  constexpr std::string_view help = "help";
  constexpr const char* between = " \t\"'()";
  if (line == "functions") {
    show_functions("", CatalogueForm::kText);
  } else if (line == help) {
    print_help(kHelp);
  } else if (line.starts_with(help) &&
             std::string_view(between).find(line[help.size()]) != std::string_view::npos) {
    const std::size_t first = line.find_first_not_of(between, help.size());
    if (first == line.npos) return print_help(kHelp), true;
    if (line[first] == '=') return false;  // a variable of that name
    show_help_of(lua, line.substr(first, line.find_last_not_of(between) + 1 - first));
  } else {
    return false;
  }
  return true;
}

// What stands behind a word at the beginning of a text, and behind the blanks that follow the word.
std::optional<std::string_view> behind_word(std::string_view text, std::string_view word) {
  constexpr std::string_view blanks = " \t\n\v\f\r";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  if (!text.starts_with(word)) return std::nullopt;
  text.remove_prefix(word.size());
  const std::size_t length = std::min(text.find_first_not_of(blanks), text.size());
  if (length == 0) return std::nullopt;
  return text.substr(length);
}

// A variable would be forgotten at the end of its line otherwise, also where lines of a program are
// pasted.
std::string without_local(const std::string& text) {
  constexpr std::string_view of_names =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_, \t\n\v\f\r";
  const auto rest = behind_word(text, "local");
  if (!rest) return text;
  const std::size_t end = std::min(rest->find_first_not_of(of_names), rest->size());
  const bool is_assignment = end > 0 && rest->substr(end).starts_with('=');
  return is_assignment || behind_word(*rest, "function") ? std::string(*rest) : text;
}

}  // namespace

// An error ends a shell that nobody sits at.
int run_shell(const SessionOptions& options) {
  using Answer = LineEditor::Answer;
  Session session(options);
  LuaProgram lua(session);
  Input input(lua);
  std::string text, line;
  for (;;) {
    const Answer answer = input.read(text.empty() ? "uwugit> " : "   ...> ", &line);
    if (answer == Answer::kCancelled) text.clear();
    if (answer == Answer::kCancelled) continue;
    const bool is_end = answer == Answer::kEnd;
    if (is_end && input.is_terminal()) return kExitSuccess;
    if (text.empty() && (is_end || line == "exit" || line == "quit")) return kExitSuccess;
    if (text.empty() && (line.empty() || do_shell_word(lua, line))) continue;
    if (!is_end) text += (text.empty() ? "" : "\n") + line;
    const LuaProgram::Line end = lua.run_line(without_local(text), is_end);
    std::fflush(stdout);
    if (end == LuaProgram::Line::kFailed && !input.is_terminal()) return kExitFailure;
    if (end == LuaProgram::Line::kFailed && is_interrupted()) std::fputs("interrupted\n", stderr);
    forget_interrupt();
    if (is_end) return kExitSuccess;
    if (end != LuaProgram::Line::kIncomplete) text.clear();
  }
}

}  // namespace uwugit::runner
