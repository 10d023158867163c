// The runner's commands. Each answers the exit status of the process.
#pragma once

#include <string>
#include <vector>

#include "session.h"

namespace uwugit::runner {

inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;  // the call or the program failed
inline constexpr int kExitUsage = 2;    // it could not be started as asked

// Calls one function; return code and outputs go to stdout.
int call_command(const SessionOptions& options, const std::string& function,
                 const std::vector<std::string>& words);

int run_command(const SessionOptions& options, const std::string& program,
                const std::vector<std::string>& arguments);

int shell_command(const SessionOptions& options);

enum class CatalogueForm { kText, kMarkdown, kManualPage };
// All functions, or the one that is named.
int functions_command(const std::string& name, CatalogueForm form);

// What is loaded from where.
int info_command(const SessionOptions& options);

// Reads a password from the terminal, or a line of stdin, and prints its encoded form.
int encode_password_command();

}  // namespace uwugit::runner
