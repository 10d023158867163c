// uwugit: runs programs, single calls and a shell against the git module. This file is the command
// line: a procedure for each command describes its options and says what it runs.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "commands/commands.h"
#include "commands/graph.h"
#include "interrupt.h"
#include "row_options.h"
#include "sql_options.h"
#include "usage.h"

namespace {

using namespace uwugit::runner;

struct CommandLine {
  CLI::App app{
      "Git functions for analytics programs: runs Lua programs, single calls and a shell "
      "against the git module.",
      "uwugit"};
  SessionOptions session;
  std::string name;  // of a function
  std::string code;  // in Lua, from the line
  std::vector<std::string> words;
  std::optional<std::vector<std::string>> plain_words;  // after "--", when it was there
  bool is_markdown = false;
  bool is_manual_page = false;
  std::string place = ".";  // a folder in the repository
  int status = kExitSuccess;
};

constexpr char kVersion[] = "uwugit " UWUGIT_VERSION;

CLI::App* add_command(CommandLine& line, const char* name, const char* what) {
  CLI::App* command = line.app.add_subcommand(name, what);
  command->set_version_flag("--version", kVersion);
  return command;
}

void add_session_options(CLI::App* command, SessionOptions& options) {
  command->add_option("--module", options.module_file, "The module to load (UWUGIT_MODULE)")
      ->type_name("FILE");
  const auto add_path = [&](const char* path, std::optional<std::string>* list, const char* which) {
    command->add_option(path, *list, which)->type_name("FOLDERS");
  };
  add_path("--system-path", &options.system_path,
           "Where libgit2 is looked for first, folders separated by colons (UWUGIT_SYSTEM_PATH)");
  add_path("--extension-path", &options.extension_path, "Then here (UWUGIT_EXTENSION_PATH)");
  add_path("--install-path", &options.install_path, "And last here (UWUGIT_INSTALL_PATH)");
  command->add_flag("--trace", options.is_traced,
                    "Show each libgit2 function looked up, with the time until the next one");
  command->add_flag("--trust-objects", options.is_trusting,
                    "Do not compare the objects that are read with their ids, as git does not");
  command->add_flag("--memory", options.is_memory_shown, "Show pools and bytes at the end");
  command->add_flag("-q,--quiet", options.log.is_quiet, "Of the log, show only errors");
  command->add_option("--log", options.log.file, "Add the log to a file, in place of showing it")
      ->type_name("FILE");
  command
      ->add_option_function<std::string>(
          "--log-format",
          [&options](const std::string& format) { options.log.is_json = format == "json"; },
          "text, or json: an object a line")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"text", "json"}).description(""));
  command
      ->add_option("--timeout", options.timeout,
                   "End with status 124 when a call takes longer; it may leave things unfinished")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.001, 1e9).description(""));
}

CLI::App* add_session_command(CommandLine& line, const char* name, const char* what) {
  CLI::App* command = add_command(line, name, what);
  add_session_options(command, line.session);
  return command;
}

// The commands that show rows. Each has a copy of the options' values of its own, as it presets
// some.
void add_row_commands(CommandLine& line) {
  static constexpr std::pair<const char*, const char*> kCommands[] = {
      {"status", "Show the changed files"},
      {"log", "Show the history"},
      {"diff", "Show what differs between two commits, or since HEAD"},
      {"refs", "Show branches, tags and the stash"},
      {"changes", "Show which files each commit changed, and by how many lines"},
  };
  for (const auto& [name, what] : kCommands) {
    CLI::App* command = add_command(line, name, what);
    auto rows = std::make_shared<RowsCommand>();
    command->add_option("-C", line.place, "A folder in the repository (the current one)")
        ->type_name("REPO");
    add_row_options(command, rows.get());
    add_session_options(command, line.session);
    command->callback([&line, rows] {
      rows->place = line.place;
      line.status = show_rows(line.session, *rows);
    });
  }
}

void add_sql(CommandLine& line) {
  CLI::App* command = add_command(line, "sql", "Ask by SQL: the same rows, as tables");
  command->add_option("-C", line.place, "A folder in the repository (the current one)")
      ->type_name("REPO");
  auto sql = std::make_shared<SqlCommand>();
  add_sql_options(command, sql.get());
  add_session_options(command, line.session);
  command->callback([&line, sql] {
    const bool is_asked = !sql->statement.empty() || !sql->statement_file.empty();
    if (!is_asked && sql->database_file.empty()) throw CLI::RequiredError("SELECT");
    sql->place = line.place;
    line.status = run_sql(line.session, *sql);
  });
}

void add_graph(CommandLine& line) {
  CLI::App* command = add_session_command(line, "graph", "Draw the commit graph");
  command->add_option("-C", line.place, "A folder in the repository (the current one)")
      ->type_name("REPO");
  auto graph = std::make_shared<GraphCommand>();
  command->add_option("-n,--max-count", graph->limit, "At most so many commits")->type_name("N");
  auto* branch = command->add_flag("--branch", graph->is_current_branch,
                                   "Only the commits of the current branch");
  command
      ->add_flag_function(
          "--all", [](auto) {}, "All commits, which is so anyway")
      ->excludes(branch);
  command->add_flag("--ascii", graph->is_ascii, "Draw with ASCII characters");
  auto* svg = command->add_option("--svg", graph->svg_file, "Write a picture instead");
  auto* html =
      command->add_option("--html", graph->html_file, "Write a page for a browser instead");
  svg->type_name("FILE");
  html->type_name("FILE")->excludes(svg);
  command
      ->add_option("--diffs", graph->diffs, "Put the files of the newest N commits into the page")
      ->type_name("N")
      ->capture_default_str();
  command->callback([&line, graph] {
    graph->place = line.place;
    line.status = draw_graph(line.session, *graph);
  });
}

// What follows "--" on the line of `run` or `call` is never an option. It is taken off the line
// before the parser sees it: the parser would not give it to a list of words that has begun before.
// A "--" before the command's name is passed over.
void take_plain_words(CommandLine& line, std::vector<char*>& words) {
  const auto place = place_of_command(line.app, static_cast<int>(words.size()), words.data());
  auto command = words.begin() + place;
  if (command != words.end() && *command == std::string_view("--")) command = words.erase(command);
  if (command == words.end()) return;
  const std::string_view name = *command;
  if (name != "run" && name != "call") return;
  const auto dashes = std::find(command, words.end(), std::string_view("--"));
  if (dashes == words.end()) return;
  line.plain_words.emplace(dashes + 1, words.end());
  words.erase(dashes, words.end());
}

// The words of the program begin where the options end, at "--" or at the first word that is no
// option. A "--" behind the program is one of its arguments.
void add_run(CommandLine& line) {
  CLI::App* command = add_session_command(line, "run", "Run a Lua program");
  auto* code =
      command->add_option("-e", line.code, "Run this, in place of a file")->type_name("LUA");
  command->prefix_command();
  command->footer(
      "As in: uwugit run [OPTIONS] [--] PROGRAM.lua [ARG]...\n"
      "PROGRAM.lua may be - for a program from standard input.\n"
      "The git functions are in the table `git`: local code = git.get_status(\".\").");
  command->callback([&line, command, code] {
    std::vector<std::string> words = command->remaining();
    if (line.plain_words) {
      if (!words.empty()) words.emplace_back("--");
      words.insert(words.end(), line.plain_words->begin(), line.plain_words->end());
    }
    if (code->count() > 0) {
      line.status = run_text(line.session, line.code, words);
      return;
    }
    if (words.empty()) throw CLI::RequiredError("PROGRAM.lua");
    line.status = run_program(line.session, words.front(), std::span(words).subspan(1));
  });
}

void add_call(CommandLine& line) {
  CLI::App* command = add_session_command(line, "call", "Call one function");
  command->add_option("FUNCTION", line.name, "Its name; `uwugit functions` lists them");
  command->add_option("ARG", line.words, "Its arguments, without output variables");
  command->footer(
      "An argument that begins with a dash stands after \"--\". The exit status is 0 only when "
      "the call succeeded.");
  command->callback([&line] {
    if (line.plain_words) {
      line.words.insert(line.words.end(), line.plain_words->begin(), line.plain_words->end());
    }
    if (line.name.empty() && !line.words.empty()) {
      line.name = line.words.front();
      line.words.erase(line.words.begin());
    }
    if (line.name.empty()) throw CLI::RequiredError("FUNCTION");
    line.status = call_function(line.session, line.name, line.words);
  });
}

void add_shell(CommandLine& line) {
  CLI::App* command =
      add_session_command(line, "shell", "Lua, line by line, with the module loaded");
  command->callback([&line] { line.status = run_shell(line.session); });
}

void add_functions(CommandLine& line) {
  CLI::App* command = add_command(line, "functions", "List the functions, or explain one");
  command->add_option("NAME", line.name, "The function to explain");
  command->add_flag("--markdown", line.is_markdown, "All functions as Markdown");
  command->add_flag("--man", line.is_manual_page, "All functions as a manual page");
  command->callback([&line] {
    line.status = show_functions(line.name, line.is_markdown      ? CatalogueForm::kMarkdown
                                            : line.is_manual_page ? CatalogueForm::kManualPage
                                                                  : CatalogueForm::kText);
  });
}

void add_info(CommandLine& line) {
  CLI::App* command = add_session_command(line, "info", "Show what is loaded from where");
  command->callback([&line] { line.status = show_info(line.session); });
}

void add_encode_password(CommandLine& line) {
  CLI::App* command = add_command(line, "encode-password",
                                  "Read a password and print the encoded form for programs");
  command->callback([&line] { line.status = encode_password(); });
}

void add_help(CommandLine& line) {
  CLI::App* command = add_command(line, "help", "Explain a command or a function");
  command->add_option("NAME", line.name, "What to explain");
  command->callback([&line] { line.status = show_help(line.app, line.name); });
}

int parse_and_run(int argc, char** argv) {
  CommandLine line;
  wrap_help(line.app);
  line.app.set_version_flag("--version", kVersion);
  line.app.require_subcommand(1);
  line.app.add_option("-C", line.place, "A folder in the repository, for status to graph")
      ->type_name("REPO");
  add_session_options(&line.app, line.session);
  add_row_commands(line);
  for (const auto add : {add_sql, add_graph, add_run, add_call, add_shell, add_functions, add_info,
                         add_encode_password, add_help}) {
    add(line);
  }
  std::vector<char*> words(argv, argv + argc);
  take_plain_words(line, words);
  try {
    line.app.parse(static_cast<int>(words.size()), words.data());
  } catch (const CLI::ParseError& error) {
    return report(line.app, error);
  }
  return line.status;
}

// Names and texts of repositories are UTF-8, whatever the terminal is set to.
void use_utf8() {
  const bool is_set = std::setlocale(LC_CTYPE, "") && MB_CUR_MAX > 1;
  if (!is_set) std::setlocale(LC_CTYPE, "C.UTF-8");
}

// Both ways out are in use. What was lost on either before shows here as well.
bool is_output_written() {
  std::cout.flush();
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good();
}

int fail(const std::exception& error, int status) {
  std::fflush(stdout);
  std::fprintf(stderr, "uwugit: %s\n", error.what());
  return is_interrupted() ? kExitInterrupted : status;
}

}  // namespace

int main(int argc, char** argv) try {
  use_utf8();
  const int status = parse_and_run(argc, argv);
  const bool is_written = is_output_written();
  if (is_interrupted()) {  // which may also be why the output was not written
    std::fputs("uwugit: interrupted\n", stderr);
    return kExitInterrupted;
  }
  if (is_written) return status;
  std::fputs("uwugit: the output could not be written\n", stderr);
  return kExitFailure;
} catch (const uwugit::host::RepositoryError& error) {
  return fail(error, kExitFailure);
} catch (const std::exception& error) {
  return fail(error, kExitUsage);
}
