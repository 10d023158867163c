// The runner's commands, a file each. Each answers the exit status of the process.
#pragma once

#include <span>
#include <string>

#include "session.h"

namespace uwugit::runner {

inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;  // the call or the program failed
inline constexpr int kExitUsage = 2;    // it could not be started as asked

// run: a Lua program with its arguments; "-" reads it from stdin.
int run_program(const SessionOptions& options, const std::string& program,
                std::span<const std::string> arguments);

// run -e: a program that stands on the command line.
int run_text(const SessionOptions& options, const std::string& text,
             std::span<const std::string> arguments);

// call: one function; return code and outputs go to stdout.
int call_function(const SessionOptions& options, const std::string& name,
                  std::span<const std::string> words);

// shell: Lua, line by line.
int run_shell(const SessionOptions& options);

// functions: all functions, or the one that is named.
enum class CatalogueForm { kText, kMarkdown, kManualPage };
int show_functions(const std::string& name, CatalogueForm form);

// info: what is loaded from where.
int show_info(const SessionOptions& options);

// encode-password: reads a password from the terminal, or a line of stdin, and prints its encoded
// form.
int encode_password();

// A sentence that says so, with the name that may have been meant.
std::string about_missing_function(const std::string& name);

// The function of that name. Throws host::UsageError when there is none.
const host::Function& require_function(const std::string& name);

}  // namespace uwugit::runner
