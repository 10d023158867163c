// Tests that call the module as a host does: loaded from its file, through the calling convention.
#pragma once

#include <fnmatch.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "sandbox.h"
#include "uwugithost/call.h"

namespace uwugit::test {

inline const fs::path kLibraryFolder = UWUGIT_LIBRARY_FOLDER;
inline const fs::path kModuleFile = kLibraryFolder / "uwugit_p.so";

// For EXPECT_PRED2, which shows both when it fails.
inline bool starts_with(const std::string& text, std::string_view start) {
  return text.starts_with(start);
}
inline bool is_like(const std::string& text, const std::string& pattern) {
  return fnmatch(pattern.c_str(), text.c_str(), FNM_EXTMATCH) == 0;
}

// Each test has a host, a freshly loaded module and a sandbox of its own.
class ModuleTest : public testing::Test {
 protected:
  // Calls a catalogue function with texts and numbers, without its output variables.
  template <class... Given>
  host::Outcome call(std::string_view name, const Given&... given) {
    const host::Function* function = host::find_function(name);
    if (!function) throw std::logic_error("no such function: " + std::string(name));
    const std::vector<host::Value> values = {value(given)...};
    return host::call_function(host_, module_, *function, values);
  }

  // The return code as text ("unchanged" when there is none), for comparison in one line.
  template <class... Given>
  std::string code(std::string_view name, const Given&... given) {
    return call(name, given...).code_text();
  }

  // The only output variable of a function.
  template <class... Given>
  std::string output(std::string_view name, const Given&... given) {
    return call(name, given...).outputs.at(0).text;
  }

  // The lines logged since the last time, rendered ("NOTE: …", "ERROR: …"), each with its line
  // break.
  std::string logged() {
    std::string text = log_.text();
    log_.clear();
    return text;
  }

  // Makes libgit2 lack a function from now on.
  void hide_function(std::string name) {
    host_.modules().set_lookup_hook(
        [=](std::string_view asked, void* found) { return asked == name ? nullptr : found; });
  }

  Sandbox sandbox_;
  host::Host host_{{.system = {kLibraryFolder}, .extension = {}, .install = {}}};
  host::FunctionModule module_{kModuleFile, host_.control_block()};
  host::LogCapture log_{host_.log()};

 private:
  static host::Value value(const fs::path& path) { return path.string(); }
  template <class T>
  static host::Value value(const T& given) {
    if constexpr (std::is_arithmetic_v<T>) {
      return static_cast<double>(given);
    } else {
      return std::string(given);
    }
  }
};

}  // namespace uwugit::test
