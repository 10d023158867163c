// A stand-alone host: everything that a function module may ask of the runtime that loads it.
//
// The host's operations carry no handle, so a process has one host at a time. One thread uses it.
#pragma once

#include <memory>
#include <string>

#include "uwugithost/files.h"
#include "uwugithost/log.h"
#include "uwugithost/macros.h"
#include "uwugithost/modules.h"
#include "uwugithost/observer.h"
#include "uwugithost/passwords.h"
#include "uwugithost/pools.h"

namespace uwugit::host {

// What a module formatted into a character variable last, before it was cut to the capacity.
struct Formatted {
  const char* characters = nullptr;  // the variable
  std::size_t length = 0;            // of the whole text
};

// The outcome of one call of an exported function.
struct CallResult {
  double code = 0;            // the return code, when the function wrote one
  bool is_unchanged = false;  // the function left the return code alone
  int returned = 0;           // the function's own integer result
};

class Host {
 public:
  explicit Host(SearchLists lists);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  static Host* current();  // the process's host, or null

  HostControlBlock* control_block();

  // Calls an exported function, then recycles the pools that it left empty.
  CallResult call(HostFunction* function, const HostArgumentBlock* arguments);

  // The observer outlives the host, or is set to null before. One is observing at a time.
  void set_observer(CallObserver* observer);
  CallObserver* observer() const { return observer_; }

  Log& log() { return log_; }
  PoolService& pools() { return pools_; }
  ModuleLoader& modules() { return modules_; }
  FileService& files() { return files_; }
  MacroVariables& macros() { return macros_; }
  PasswordService& passwords() { return passwords_; }

  Formatted& last_formatted() { return last_formatted_; }

 private:
  struct ControlTables;

  Log log_;
  PoolService pools_;
  ModuleLoader modules_;
  FileService files_;
  MacroVariables macros_;
  PasswordService passwords_;
  CallObserver* observer_ = nullptr;
  Formatted last_formatted_;
  std::unique_ptr<ControlTables> tables_;
};

}  // namespace uwugit::host
