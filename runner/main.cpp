// uwugit: runs programs, single calls and a shell against the git module.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>

#include "commands.h"

namespace {

using namespace uwugit::runner;

void add_session_options(CLI::App* command, SessionOptions* options) {
  command->add_option("--module", options->module_file, "The module to load")
      ->type_name("FILE")
      ->envname("UWUGIT_MODULE");
  const auto add_path = [&](const char* name, std::optional<std::string>* list, const char* what) {
    command->add_option(name, *list, what)->type_name("FOLDERS");
  };
  add_path("--system-path", &options->system_path,
           "Where libgit2 is looked for first, folders separated by colons (UWUGIT_SYSTEM_PATH)");
  add_path("--extension-path", &options->extension_path, "Then here (UWUGIT_EXTENSION_PATH)");
  add_path("--install-path", &options->install_path, "And last here (UWUGIT_INSTALL_PATH)");
  command->add_flag("--trace", options->is_traced,
                    "Show each libgit2 function looked up, with the time until the next one");
  command->add_flag("--memory", options->is_memory_shown, "Show pools and bytes at the end");
}

// What follows "--" on a command's line is never an option. It is taken off the line here: the
// parser would not give it to a list of words that has begun before.
std::vector<std::string> take_plain_words(std::string_view command, int* argc, char** argv) {
  if (*argc < 2 || argv[1] != command) return {};
  char** const end = argv + *argc;
  char** const dashes = std::find(argv, end, std::string_view("--"));
  if (dashes == end) return {};
  *argc = static_cast<int>(dashes - argv);
  return {dashes + 1, end};
}

int parse_and_run(int argc, char** argv) {
  CLI::App app(
      "Git functions for analytics programs: runs Lua programs, single calls and a shell "
      "against the git module.",
      "uwugit");
  const std::string version = "uwugit " UWUGIT_VERSION;
  app.set_version_flag("--version", version);
  app.require_subcommand(1);
  SessionOptions options;
  int status = kExitSuccess;
  const auto add_command = [&](const char* name, const char* what, bool has_session) {
    CLI::App* command = app.add_subcommand(name, what);
    command->set_version_flag("--version", version);
    if (has_session) add_session_options(command, &options);
    return command;
  };

  std::string name;
  std::vector<std::string> words;
  CLI::App* run = add_command("run", "Run a Lua program", true);
  run->prefix_command();
  run->footer(
      "As in: uwugit run [OPTIONS] PROGRAM.lua [ARG]...\n"
      "The git functions are in the table `git`: local code = git.get_status(\".\").");
  run->callback([&] {
    words = run->remaining();
    if (!words.empty() && words.front() == "--") words.erase(words.begin());
    if (words.empty()) throw CLI::RequiredError("PROGRAM.lua");
    name = words.front();
    words.erase(words.begin());
    status = run_command(options, name, words);
  });

  CLI::App* call = add_command("call", "Call one function", true);
  call->add_option("FUNCTION", name, "Its name; `uwugit functions` lists them")->required();
  call->add_option("ARG", words, "Its arguments, without output variables");
  call->footer(
      "An argument that begins with a dash stands after \"--\". The exit status is 0 only when "
      "the call succeeded.");
  const std::vector<std::string> plain_words = take_plain_words("call", &argc, argv);
  call->callback([&] {
    words.insert(words.end(), plain_words.begin(), plain_words.end());
    status = call_command(options, name, words);
  });

  CLI::App* shell = add_command("shell", "Lua, line by line, with the module loaded", true);
  shell->callback([&] { status = shell_command(options); });

  CLI::App* functions = add_command("functions", "List the functions, or explain one", false);
  bool is_markdown = false;
  bool is_manual_page = false;
  functions->add_option("NAME", name, "The function to explain");
  functions->add_flag("--markdown", is_markdown, "All functions as Markdown");
  functions->add_flag("--man", is_manual_page, "All functions as a manual page");
  functions->callback([&] {
    status = functions_command(name, is_markdown      ? CatalogueForm::kMarkdown
                                     : is_manual_page ? CatalogueForm::kManualPage
                                                      : CatalogueForm::kText);
  });

  CLI::App* info = add_command("info", "Show what is loaded from where", true);
  info->callback([&] { status = info_command(options); });

  CLI::App* encode = add_command("encode-password",
                                 "Read a password and print the encoded form for programs", false);
  encode->callback([&] { status = encode_password_command(); });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitSuccess : kExitUsage;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) try {
  return parse_and_run(argc, argv);
} catch (const std::exception& error) {
  std::fflush(stdout);
  std::fprintf(stderr, "uwugit: %s\n", error.what());
  return kExitUsage;
}
