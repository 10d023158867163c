#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "commands.h"

namespace uwugit::runner {
namespace {

namespace fs = std::filesystem;

void print_row(const char* name, const std::string& value) {
  std::printf("%-18s%s\n", name, value.c_str());
}

// Texts with something between each and the next.
std::string joined(const std::vector<std::string>& texts, const char* between) {
  std::string all;
  for (const std::string& text : texts) {
    if (!all.empty()) all += between;
    all += text;
  }
  return all;
}

template <std::size_t size>
std::string field(const char (&text)[size]) {
  return std::string(text, strnlen(text, size));
}

void print_module(const host::FunctionModule& module) {
  const ModuleInformation& information = module.information();
  print_row("module", module.file());
  print_row("release", field(information.release));
  print_row("build", field(information.build_id));
  print_row("built on", field(information.build_date));
  print_row("revision", field(information.revision));
  print_row("notice", information.notice ? information.notice : "");
  std::vector<std::string> programs;
  for (const ProgramName* const* program = information.programs; *program; ++program) {
    programs.push_back(field((*program)->name));
  }
  print_row("programs", joined(programs, ", "));
  std::vector<std::string> functions;
  for (const auto& [name, registered] : module.registered()) {
    functions.push_back(name + " (" + std::to_string(registered.descriptor.minimum_arguments) +
                        " to " + std::to_string(registered.descriptor.maximum_arguments) +
                        " arguments)");
  }
  print_row("registers", joined(functions, ", "));
}

struct FoundLibgit2 {
  GitModule* module = nullptr;
  const char* where = "";
};

FoundLibgit2 find_libgit2(host::Host& host) {
  constexpr std::pair<ModuleLocation, const char*> kPlaces[] = {
      {ModuleLocation::kSystem, "system path"},
      {ModuleLocation::kExtension, "extension path"},
      {ModuleLocation::kInstall, "install path"},
  };
  for (const auto& [location, where] : kPlaces) {
    if (GitModule* module = host.modules().load(L"libgit2", location)) return {module, where};
  }
  return {};
}

// The version of a libgit2, and the file that its functions are in.
std::string describe_libgit2(GitModule* module) {
  constexpr std::wstring_view name = L"git_libgit2_version";
  void* address = module->lookup(module, name.data(), name.size(), 0);
  if (!address) return "of unknown version";
  int major = 0;
  int minor = 0;
  int revision = 0;
  reinterpret_cast<int (*)(int*, int*, int*)>(address)(&major, &minor, &revision);
  Dl_info library{};
  dladdr(address, &library);
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision) +
         ", " + library.dli_fname;
}

void print_libgit2(host::Host& host) {
  const FoundLibgit2 found = find_libgit2(host);
  if (!found.module) return print_row("libgit2", "not found");
  print_row("libgit2", describe_libgit2(found.module));
  print_row("found as",
            host::ModuleLoader::file_of(found.module).string() + ", on the " + found.where);
}

void print_folders(const char* list, const std::vector<fs::path>& folders) {
  const std::vector<std::string> names(folders.begin(), folders.end());
  print_row(list, names.empty() ? "(none)" : joined(names, ":"));
}

}  // namespace

int show_info(const SessionOptions& options) {
  Session session(options);
  print_module(session.module());
  print_libgit2(session.host());
  const host::SearchLists& lists = session.host().modules().lists();
  print_folders("system path", lists.system);
  print_folders("extension path", lists.extension);
  print_folders("install path", lists.install);
  print_row("password key", session.host().passwords().key_file());
  return session.module().registered().empty() ? kExitFailure : kExitSuccess;
}

}  // namespace uwugit::runner
