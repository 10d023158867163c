#include "run.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "uwugit/operations.h"
#include "uwugithost/log.h"

namespace uwugit::host {
namespace {

constexpr int kInternalError = 70;

Log* log_of_run = nullptr;

}  // namespace

void set_log_of_run(Log* log) { log_of_run = log; }

void end_run(int code, std::string_view reason) {
  const std::string text =
      std::string(reason) + " The run ends with code " + std::to_string(code) + ".";
  if (log_of_run) {
    log_of_run->error(text);
  } else {
    std::fprintf(stderr, "ERROR: %s\n", text.c_str());
  }
  std::fflush(nullptr);
  std::_Exit(code > 0 && code < 256 ? code : kInternalError);
}

void end_run_out_of_memory(const char* pool, std::size_t bytes) {
  end_run(operation::kOutOfMemory, "Out of memory: pool \"" + std::string(pool) +
                                       "\" cannot have " + std::to_string(bytes) + " bytes.");
}

void end_run_missing_operation(std::string_view operation) {
  end_run(kInternalError,
          "The module called " + std::string(operation) + ", which this host does not provide.");
}

}  // namespace uwugit::host
