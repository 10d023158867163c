#include "uwugithost/modules.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <unordered_map>

#include "missing_slots.h"
#include "uwugithost/log.h"

namespace uwugit::host {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kModuleSlots = 32;

// Hashes and compares names without making strings of them.
struct NameHash {
  using is_transparent = void;
  std::size_t operator()(std::wstring_view name) const {
    std::size_t hash = 0xcbf29ce484222325;
    for (const wchar_t c : name) hash = (hash ^ static_cast<std::size_t>(c)) * 0x100000001b3;
    return hash;
  }
};

// The narrow form of a name; empty when it holds anything that no module or function name has.
std::string narrow(std::wstring_view name) {
  std::string text;
  for (const wchar_t c : name) {
    if (c <= L' ' || c > L'~' || c == L'/') return {};
    text += static_cast<char>(c);
  }
  return text;
}

void* open_library(const fs::path& file) { return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL); }

std::vector<fs::path> list_from_environment(const char* name, std::vector<fs::path> otherwise) {
  const char* list = std::getenv(name);
  return list ? split_path_list(list) : std::move(otherwise);
}

}  // namespace

std::vector<fs::path> split_path_list(std::string_view list) {
  std::vector<fs::path> folders;
  while (!list.empty()) {
    const std::size_t colon = list.find(':');
    if (colon != 0) folders.emplace_back(list.substr(0, colon));
    list.remove_prefix(colon == std::string_view::npos ? list.size() : colon + 1);
  }
  return folders;
}

const std::vector<fs::path>& SearchLists::of(ModuleLocation location) const {
  switch (location) {
    case ModuleLocation::kSystem:
      return system;
    case ModuleLocation::kExtension:
      return extension;
    case ModuleLocation::kInstall:
      return install;
  }
  static const std::vector<fs::path> none;
  return none;
}

SearchLists SearchLists::from_environment(const fs::path& companion_folder) {
  return {.system = list_from_environment("UWUGIT_SYSTEM_PATH", {companion_folder}),
          .extension = list_from_environment("UWUGIT_EXTENSION_PATH", {}),
          .install = list_from_environment("UWUGIT_INSTALL_PATH", {})};
}

class LoadedModule final : public FullTable<GitModule, "loaded module", kModuleSlots> {
 public:
  LoadedModule(fs::path file, void* library, const ModuleLoader::LookupHook& hook)
      : file_(std::move(file)), library_(library), hook_(hook) {
    lookup = [](GitModule* module, const wchar_t* name, std::size_t length, std::uint64_t) {
      return static_cast<LoadedModule*>(module)->find({name, length});
    };
  }

  const fs::path& file() const { return file_; }

  void set_progress(ProgressFunction* function, void* context) {
    void* found = dlsym(library_, kProgressRegistration);
    if (found) reinterpret_cast<ProgressRegistration*>(found)(function, context);
  }

 private:
  struct Function {
    std::string name;
    void* address;
  };

  void* find(std::wstring_view name) {
    auto known = functions_.find(name);
    if (known == functions_.end()) {
      const std::string plain = narrow(name);
      void* address = plain.empty() ? nullptr : dlsym(library_, plain.c_str());
      known = functions_.emplace(std::wstring(name), Function{plain, address}).first;
    }
    const Function& function = known->second;
    return hook_ ? hook_(function.name, function.address) : function.address;
  }

  fs::path file_;
  void* library_;
  const ModuleLoader::LookupHook& hook_;
  std::unordered_map<std::wstring, Function, NameHash, std::equal_to<>> functions_;
};

ModuleLoader::ModuleLoader(SearchLists lists, Log& log) : lists_(std::move(lists)), log_(log) {}
ModuleLoader::~ModuleLoader() = default;

void ModuleLoader::set_lists(SearchLists lists) {
  lists_ = std::move(lists);
  found_.clear();
}

void ModuleLoader::set_progress(ProgressFunction* function, void* context) {
  progress_ = function;
  progress_context_ = context;
  for (const auto& [file, module] : modules_) {
    if (module) module->set_progress(function, context);
  }
}

GitModule* ModuleLoader::load(std::wstring_view name, ModuleLocation location) {
  std::pair key(std::wstring(name), location);
  if (const auto known = found_.find(key); known != found_.end()) return known->second;
  const std::string plain = narrow(name);
  if (plain.empty()) return nullptr;
  for (const fs::path& folder : lists_.of(location)) {
    const fs::path file = folder / (plain + ".so");
    std::error_code error;
    if (!fs::exists(file, error)) continue;
    if (LoadedModule* module = open(file)) {
      found_.emplace(std::move(key), module);
      return module;
    }
  }
  return nullptr;
}

LoadedModule* ModuleLoader::open(const fs::path& file) {
  std::error_code error;
  const fs::path absolute = fs::absolute(file, error);
  auto& module = modules_[absolute];
  if (!module) {
    void* library = open_library(absolute);
    if (!library) {
      log_.error(std::string("A module cannot be loaded: ") + dlerror());
      return nullptr;
    }
    module = std::make_unique<LoadedModule>(absolute, library, hook_);
    if (progress_) module->set_progress(progress_, progress_context_);
  }
  return module.get();
}

const fs::path& ModuleLoader::file_of(const GitModule* module) {
  return static_cast<const LoadedModule*>(module)->file();
}

void FunctionModule::Closer::operator()(void* library) const { dlclose(library); }

FunctionModule::FunctionModule(const fs::path& file, HostControlBlock* gcb)
    : file_(fs::absolute(file)), library_(open_library(file_)) {
  if (!library_) throw std::runtime_error(std::string("The module cannot be loaded: ") + dlerror());
  const auto refuse = [this](const std::string& why) {
    throw std::runtime_error(file_.string() + " is not a function module: " + why);
  };
  auto* start = reinterpret_cast<ModuleBootstrap*>(dlsym(library_.get(), "mcn_main"));
  if (!start) refuse("it has no mcn_main.");
  static std::uint64_t process_block[64] = {};
  information_ = start(gcb, process_block);
  if (!information_ ||
      std::memcmp(information_->tag, kInformationTag, sizeof kInformationTag) != 0 ||
      information_->marker != kInformationMarker) {
    refuse("its information block is not marked as one.");
  }
  for (const ProgramName* const* program = information_->programs; *program; ++program) {
    register_program(**program);
  }
}

FunctionModule::~FunctionModule() = default;

void FunctionModule::register_program(const ProgramName& program) {
  auto* entry = reinterpret_cast<ModuleEntry*>(program.entry);
  const auto ask = [entry](int mode) {
    return entry(mode, nullptr, nullptr, nullptr, nullptr, nullptr);
  };
  const auto* list = static_cast<const DescriptorBlock*>(ask(kListDescriptors));
  const auto* words = static_cast<HostFunction* const*>(ask(kListImplementations));
  if (!list || !words) return;
  for (std::uint32_t i = 0; i < list->count; ++i) {
    const FunctionDescriptor& row = list->descriptors[i];
    const std::string name(row.name, strnlen(row.name, sizeof row.name));
    registered_.emplace(name, Registered{row, words[i + 1]});
  }
}

HostFunction* FunctionModule::find(const std::string& name) const {
  if (const auto found = registered_.find(name); found != registered_.end()) {
    return found->second.implementation;
  }
  return reinterpret_cast<HostFunction*>(dlsym(library_.get(), name.c_str()));
}

}  // namespace uwugit::host
