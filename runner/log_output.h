// --quiet, --log and --log-format: where the host's log goes, and how.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "status_line.h"
#include "uwugithost/host.h"

namespace uwugit::runner {

struct LogOptions {
  bool is_quiet = false;  // only errors on stderr
  std::string file;       // that lines are added to, in place of stderr
  bool is_json = false;   // an object a line
};

class LogOutput {
 public:
  // Throws host::UsageError when the file cannot be opened.
  LogOutput(host::Log& log, const LogOptions& options, StatusLine& status_line);
  // Puts back where lines went before.
  ~LogOutput();
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;

  // The function that the lines are of from now on; empty outside of calls.
  void set_function(std::string_view function) { function_ = function; }

 private:
  void write(const host::LogLine& line);
  std::string json(const host::LogLine& line) const;

  host::Log& log_;
  LogOptions options_;
  StatusLine& status_line_;
  host::Log::Sink usual_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
  std::string_view function_;
};

}  // namespace uwugit::runner
