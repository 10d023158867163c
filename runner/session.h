// A host with the git module loaded: what every command of the runner works on.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "interrupt.h"
#include "log_output.h"
#include "status_line.h"
#include "trace.h"
#include "uwugithost/call.h"
#include "watchdog.h"

namespace uwugit::runner {

// The options that commands share.
struct SessionOptions {
  std::string module_file;  // empty: beside the command
  // Folders separated by colons; when given, in place of what the environment says.
  std::optional<std::string> system_path;
  std::optional<std::string> extension_path;
  std::optional<std::string> install_path;
  bool is_traced = false;
  bool is_trusting = false;  // of the objects' ids
  bool is_memory_shown = false;
  LogOptions log;
  double timeout = 0;  // seconds that a call may take; 0: as long as it wants
};

// Calls of functions, whoever makes them, show a status line on a terminal and end with Ctrl-C
// where they can: host::Interrupted is thrown then.
class Session : private host::CallObserver {
 public:
  // Throws std::runtime_error when the module cannot be loaded.
  explicit Session(const SessionOptions& options);
  // Shows what --memory asks for.
  ~Session() override;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // See host::call_function. After --timeout the process ends.
  host::Outcome call(const host::Function& function, std::span<const host::Value> values);

  // For what takes long without being a call of a function.
  Watchdog::Watch watch(std::string_view what) const { return watchdog_.watch(what); }

  // For what writes to the terminal during a call.
  StatusLine::Away without_status_line() { return StatusLine::Away(status_line_); }

  host::Host& host() { return host_; }
  const host::FunctionModule& module() const { return *module_; }

 private:
  void begin(const host::Function& function) noexcept override;
  bool go_on(const WorkProgress& progress) noexcept override;
  bool end() noexcept override;

  host::Host host_;
  StatusLine status_line_;
  LogOutput log_output_;
  std::unique_ptr<host::FunctionModule> module_;
  Trace trace_;
  Watchdog watchdog_;
  std::optional<Interruptible> interruptible_;  // during a call
  bool is_call_ended_ = false;
  bool is_memory_shown_;
};

// The folder of the module and its companion: lib/uwugit beside the command's own folder.
std::filesystem::path library_folder();

}  // namespace uwugit::runner
