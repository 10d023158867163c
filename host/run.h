// Ending the host's run: the one way out when a module cannot go on.
#pragma once

#include <cstddef>
#include <string_view>

namespace uwugit::host {

class Log;

// Where the reason is written from now on; null: to stderr.
void set_log_of_run(Log* log);

// Writes the reason to the log as an error and ends the process: with `code` as exit status when it
// is one (1 to 255), else with 70.
[[noreturn]] void end_run(int code, std::string_view reason);

// Ends the run with the code of exhausted memory.
[[noreturn]] void end_run_out_of_memory(const char* pool, std::size_t bytes);

// Ends the run because the module called something that this host does not provide.
[[noreturn]] void end_run_missing_operation(std::string_view operation);

}  // namespace uwugit::host
