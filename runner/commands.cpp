#include "commands.h"

#include <dlfcn.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "program.h"

namespace uwugit::runner {
namespace {

namespace fs = std::filesystem;

const host::Function& require_function(const std::string& name) {
  if (const host::Function* function = host::find_function(name)) return *function;
  throw host::UsageError("There is no function " + name +
                         ". `uwugit functions` lists those there are.");
}

void print_folders(const char* list, const std::vector<fs::path>& folders) {
  std::printf("%-18s", list);
  if (folders.empty()) std::printf("(none)");
  for (std::size_t i = 0; i < folders.size(); ++i) {
    std::printf("%s%s", i == 0 ? "" : ":", folders[i].c_str());
  }
  std::printf("\n");
}

template <std::size_t size>
std::string field(const char (&text)[size]) {
  return std::string(text, strnlen(text, size));
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

void print_libgit2(host::Host& host) {
  const FoundLibgit2 found = find_libgit2(host);
  if (!found.module) {
    std::printf("%-18snot found\n", "libgit2");
    return;
  }
  constexpr wchar_t name[] = L"git_libgit2_version";
  void* address = found.module->lookup(found.module, name, sizeof name / sizeof *name - 1, 0);
  if (!address) {
    std::printf("%-18sof unknown version\n", "libgit2");
  } else {
    int major = 0;
    int minor = 0;
    int revision = 0;
    reinterpret_cast<int (*)(int*, int*, int*)>(address)(&major, &minor, &revision);
    Dl_info library{};
    dladdr(address, &library);
    std::printf("%-18s%d.%d.%d, %s\n", "libgit2", major, minor, revision, library.dli_fname);
  }
  std::printf("%-18s%s, on the %s\n", "found as", host::ModuleLoader::file_of(found.module).c_str(),
              found.where);
}

// Switches the terminal's echo off while it lives.
class SilentTerminal {
 public:
  SilentTerminal() : is_terminal_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!is_terminal_) return;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    std::fputs("Password: ", stderr);
  }
  ~SilentTerminal() {
    if (!is_terminal_) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    std::fputs("\n", stderr);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  termios before_{};
  bool is_terminal_;
};

}  // namespace

int call_command(const SessionOptions& options, const std::string& name,
                 const std::vector<std::string>& words) {
  const host::Function& function = require_function(name);
  const std::vector<host::Value> values = host::values_from_words(function, words);
  Session session(options);
  const host::Outcome outcome = session.call(function, values);
  std::printf("return code: %s\n", outcome.code_text().c_str());
  if (outcome.result.returned != 0) std::printf("returned: %d\n", outcome.result.returned);
  for (const host::OutputValue& output : outcome.outputs) {
    std::printf("%.*s: ", static_cast<int>(output.name.size()), output.name.data());
    std::fwrite(output.text.data(), 1, output.text.size(), stdout);
    std::printf("\n");
  }
  std::fflush(stdout);
  return outcome.is_success ? kExitSuccess : kExitFailure;
}

int run_command(const SessionOptions& options, const std::string& program,
                const std::vector<std::string>& arguments) {
  Session session(options);
  LuaProgram lua(session);
  return lua.run_file(program, arguments) ? kExitSuccess : kExitFailure;
}

int functions_command(const std::string& name, CatalogueForm form) {
  std::string text;
  if (form == CatalogueForm::kMarkdown) {
    text = host::catalogue_as_markdown();
  } else if (form == CatalogueForm::kManualPage) {
    text = host::catalogue_as_manual_page(UWUGIT_VERSION);
  } else if (!name.empty()) {
    text = host::describe(require_function(name));
  } else {
    std::size_t width = 0;
    for (const host::Function& function : host::catalogue()) {
      width = std::max(width, function.name.size());
    }
    for (const host::Function& function : host::catalogue()) {
      text += std::string(function.name) + std::string(width + 2 - function.name.size(), ' ') +
              std::string(function.summary) + "\n";
    }
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  return kExitSuccess;
}

int info_command(const SessionOptions& options) {
  Session session(options);
  const host::FunctionModule& module = session.module();
  const ModuleInformation& information = module.information();
  std::printf("%-18s%s\n", "module", module.file().c_str());
  std::printf("%-18s%s\n", "release", field(information.release).c_str());
  std::printf("%-18s%s\n", "build", field(information.build_id).c_str());
  std::printf("%-18s%s\n", "built on", field(information.build_date).c_str());
  std::printf("%-18s%s\n", "revision", field(information.revision).c_str());
  std::printf("%-18s%s\n", "notice", information.notice);
  std::printf("%-18s", "programs");
  for (const ProgramName* const* program = information.programs; *program; ++program) {
    std::printf("%s%s", program == information.programs ? "" : ", ",
                field((*program)->name).c_str());
  }
  std::printf("\n%-18s", "registers");
  bool is_first = true;
  for (const auto& [name, registered] : module.registered()) {
    std::printf("%s%s (%d to %d arguments)", is_first ? "" : ", ", name.c_str(),
                registered.descriptor.minimum_arguments, registered.descriptor.maximum_arguments);
    is_first = false;
  }
  std::printf("\n");
  print_libgit2(session.host());
  const host::SearchLists& lists = session.host().modules().lists();
  print_folders("system path", lists.system);
  print_folders("extension path", lists.extension);
  print_folders("install path", lists.install);
  std::printf("%-18s%s\n", "password key", session.host().passwords().key_file().c_str());
  return module.registered().empty() ? kExitFailure : kExitSuccess;
}

int encode_password_command() {
  std::string password;
  {
    const SilentTerminal silence;
    if (!std::getline(std::cin, password)) throw host::UsageError("No password was given.");
  }
  const std::string encoded = host::PasswordService().encode(password);
  explicit_bzero(password.data(), password.size());
  std::printf("%s\n", encoded.c_str());
  return kExitSuccess;
}

}  // namespace uwugit::runner
