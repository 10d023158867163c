// Other programs, and a place for them to work in.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace uwugit::runner {

struct CommandResult {
  int status;          // exit status; 128 + n when signal n ended the command
  std::string output;  // what it wrote to stdout and stderr
};

// Runs a command, found by the PATH, without a shell and without input. Throws std::runtime_error
// when it cannot be started.
CommandResult run(const std::vector<std::string>& command);

// Makes a new empty folder below the system's folder for temporary files.
std::filesystem::path temporary_folder();

}  // namespace uwugit::runner
