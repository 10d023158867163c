#include "usage.h"

#include <cstdio>
#include <iostream>

#include "commands/commands.h"
#include "format/wrap.h"
#include "nearest.h"

namespace uwugit::runner {
namespace {

class WrappedHelp : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name,
                        CLI::AppFormatMode mode) const override {
    return wrapped(CLI::Formatter::make_help(app, std::move(name), mode), width_of_help());
  }
};

std::vector<std::string> names_of_commands(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

// Of the command that was given, or else of the whole.
std::vector<std::string> names_of_options(const CLI::App& app) {
  const auto given = app.get_subcommands();
  std::vector<std::string> names;
  for (const CLI::Option* option : (given.empty() ? app : *given.front()).get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

const CLI::App* find_command(const CLI::App& app, const std::string& name) {
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->check_name(name)) return command;
  }
  return nullptr;
}

int refuse(const std::string& message) {
  std::fprintf(stderr, "uwugit: %s\n", message.c_str());
  return kExitUsage;
}

int refuse_command(const CLI::App& app, const std::string& word) {
  if (word.starts_with('-')) {
    return refuse("There is no option '" + word + "'." + did_you_mean(word, names_of_options(app)));
  }
  return refuse("There is no command '" + word + "'." + did_you_mean(word, names_of_commands(app)) +
                " `uwugit help` lists those there are.");
}

// The words that no option and no command took, in the order in which they were typed.
int refuse_words(const CLI::App& app, const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) all += " " + word;
  return refuse("not expected:" + all + "." + did_you_mean(words.front(), names_of_options(app)));
}

}  // namespace

void wrap_help(CLI::App& app) { app.formatter(std::make_shared<WrappedHelp>()); }

int place_of_command(const CLI::App& app, int count, char** words) {
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    if (!word.starts_with('-') || word == "--") return i;
    const CLI::Option* option = app.get_option_no_throw(word);
    if (option && option->get_items_expected_min() > 0) ++i;
  }
  return count;
}

int report(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> words = app.remaining(true);
  if (dynamic_cast<const CLI::ExtrasError*>(&error)) return refuse_words(app, words);
  if (dynamic_cast<const CLI::RequiredError*>(&error) && app.get_subcommands().empty()) {
    if (!words.empty()) return refuse_command(app, words.front());
    std::cerr << app.help();
    return kExitUsage;
  }
  return app.exit(error) == 0 ? kExitSuccess : kExitUsage;
}

int show_help(const CLI::App& app, const std::string& name) {
  if (name.empty()) {
    std::cout << app.help();
  } else if (const CLI::App* command = find_command(app, name)) {
    std::cout << command->help(app.get_name());
  } else if (const host::Function* function = host::find_function(name)) {
    print_help(host::describe(*function));
  } else {
    return refuse_command(app, name);
  }
  return kExitSuccess;
}

}  // namespace uwugit::runner
