// Text broken at words.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace uwugit::runner {

// How many columns the terminal has that the file is; none when it is no terminal.
std::size_t width_of_terminal(std::FILE* file, std::size_t none);

// Breaks lines that are too wide at words. A line goes on where its last column begins, if blanks
// set one off, and else below its first word.
std::string wrapped(std::string_view text, std::size_t width);

// Shows a text for people on stdout: as wide as the terminal, and else as 80 columns.
std::size_t width_of_help();
void print_help(std::string_view text);

}  // namespace uwugit::runner
