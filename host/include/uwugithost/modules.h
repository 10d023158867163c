// Loading modules by name, and looking functions up in them.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "uwugit/module_abi.h"
#include "uwugit/progress.h"

namespace uwugit::host {

class Log;

// Where modules are looked for: `NAME.so` in each folder of a list in turn.
struct SearchLists {
  std::vector<std::filesystem::path> system;
  std::vector<std::filesystem::path> extension;
  std::vector<std::filesystem::path> install;

  const std::vector<std::filesystem::path>& of(ModuleLocation location) const;

  // The folder of the command's own companion module, and what the environment adds: each of
  // UWUGIT_SYSTEM_PATH, UWUGIT_EXTENSION_PATH and UWUGIT_INSTALL_PATH (folders separated by colons)
  // replaces one list.
  static SearchLists from_environment(const std::filesystem::path& companion_folder);
};

// "a:b" as folders; empty parts are left out.
std::vector<std::filesystem::path> split_path_list(std::string_view list);

class LoadedModule;

// Loads modules like libgit2, which are nothing but a set of functions. They stay for the life of
// the process.
class ModuleLoader {
 public:
  // Sees every lookup: the name and what was found (null: nothing), and answers what the module
  // gets.
  using LookupHook = std::function<void*(std::string_view name, void* found)>;

  ModuleLoader(SearchLists lists, Log& log);
  ~ModuleLoader();
  ModuleLoader(const ModuleLoader&) = delete;
  ModuleLoader& operator=(const ModuleLoader&) = delete;

  // Null when no folder of that location has such a module. A file that cannot be loaded is logged
  // as an error and passed over.
  GitModule* load(std::wstring_view name, ModuleLocation location);

  const SearchLists& lists() const { return lists_; }
  void set_lists(SearchLists lists);
  void set_lookup_hook(LookupHook hook) { hook_ = std::move(hook); }
  const LookupHook& lookup_hook() const { return hook_; }

  // The function that modules are to tell about their work, those that are loaded and those to
  // come; null: none any longer.
  void set_progress(ProgressFunction* function, void* context);

  // The file that a handle was loaded from.
  static const std::filesystem::path& file_of(const GitModule* module);

 private:
  LoadedModule* open(const std::filesystem::path& file);

  SearchLists lists_;
  Log& log_;
  LookupHook hook_;
  ProgressFunction* progress_ = nullptr;
  void* progress_context_ = nullptr;
  std::map<std::filesystem::path, std::unique_ptr<LoadedModule>> modules_;
  std::map<std::pair<std::wstring, ModuleLocation>, LoadedModule*> found_;
};

// A module of functions for the host's programs, started and registered.
class FunctionModule {
 public:
  // Loads the file, starts it and takes its registered functions. Throws std::runtime_error with
  // the reason when the file cannot be loaded or is no such module.
  FunctionModule(const std::filesystem::path& file, HostControlBlock* gcb);
  ~FunctionModule();  // unloads the file
  FunctionModule(const FunctionModule&) = delete;
  FunctionModule& operator=(const FunctionModule&) = delete;

  // A function by the name it is registered or exported under; null when there is none.
  HostFunction* find(const std::string& name) const;

  struct Registered {
    FunctionDescriptor descriptor;
    HostFunction* implementation;
  };
  const std::map<std::string, Registered, std::less<>>& registered() const { return registered_; }
  const ModuleInformation& information() const { return *information_; }
  const std::filesystem::path& file() const { return file_; }

 private:
  void register_program(const ProgramName& program);

  struct Closer {
    void operator()(void* library) const;
  };

  std::filesystem::path file_;
  std::unique_ptr<void, Closer> library_;
  const ModuleInformation* information_ = nullptr;
  std::map<std::string, Registered, std::less<>> registered_;
};

}  // namespace uwugit::host
