// --quiet, --log and --log-format: where the host's log goes, and how.
#pragma once

#include <memory>
#include <string>
#include <string_view>

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
  LogOutput(host::Log& log, const LogOptions& options);
  // Puts back where lines went before.
  ~LogOutput();
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;

  // Lines that are written while this lives are of that function.
  class Call {
   public:
    Call(LogOutput& output, std::string_view function) : output_(output) {
      output_.function_ = function;
    }
    ~Call() { output_.function_ = {}; }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    LogOutput& output_;
  };

 private:
  void write(const host::LogLine& line);
  std::string json(const host::LogLine& line) const;

  host::Log& log_;
  LogOptions options_;
  host::Log::Sink usual_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
  std::string_view function_;  // empty outside of calls
};

}  // namespace uwugit::runner
