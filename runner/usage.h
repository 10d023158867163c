// What the command line says to people: help, and what is wrong with what they typed.
#pragma once

#include <CLI/CLI.hpp>

namespace uwugit::runner {

// Help is as wide as the terminal. Commands that are added later do the same.
void wrap_help(CLI::App& app);

// The place of the command's name on the line, behind the options before it; `count` when there is
// none.
int place_of_command(const CLI::App& app, int count, char** words);

// Shows the help that was asked for, or what is wrong; answers the exit status.
int report(const CLI::App& app, const CLI::ParseError& error);

// help: a command or a function; the whole when the name is empty. Answers the exit status.
int show_help(const CLI::App& app, const std::string& name);

}  // namespace uwugit::runner
