// Ending the host's run: the one way out when a module cannot go on.
#pragma once

#include <cstddef>
#include <string_view>

namespace uwugit::host {

// Writes the reason to the log as an error and ends the process: with `code` as exit status when it
// is one (1 to 255), else with 70.
[[noreturn]] void end_run(int code, std::string_view reason);

// Ends the run with the code of exhausted memory.
[[noreturn]] void end_run_out_of_memory(const char* pool, std::size_t bytes);

}  // namespace uwugit::host
