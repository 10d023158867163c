// A host with the git module loaded: what every command of the runner works on.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "log_output.h"
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

class Session {
 public:
  // Throws std::runtime_error when the module cannot be loaded.
  explicit Session(const SessionOptions& options);
  // Shows what --memory asks for.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // See host::call_function.
  host::Outcome call(const host::Function& function, std::span<const host::Value> values);

  // For what takes long without being a call of a function.
  Watchdog::Watch watch(std::string_view what) const { return watchdog_.watch(what); }

  host::Host& host() { return host_; }
  const host::FunctionModule& module() const { return *module_; }

 private:
  host::Host host_;
  LogOutput log_output_;
  std::unique_ptr<host::FunctionModule> module_;
  Trace trace_;
  Watchdog watchdog_;
  bool is_memory_shown_;
};

// The folder of the module and its companion: lib/uwugit beside the command's own folder.
std::filesystem::path library_folder();

}  // namespace uwugit::runner
