#include "session.h"

#include <cstdio>
#include <cstdlib>

namespace uwugit::runner {
namespace {

namespace fs = std::filesystem;

host::SearchLists search_lists(const SessionOptions& options) {
  host::SearchLists lists = host::SearchLists::from_environment(library_folder());
  if (options.system_path) lists.system = host::split_path_list(*options.system_path);
  if (options.extension_path) lists.extension = host::split_path_list(*options.extension_path);
  if (options.install_path) lists.install = host::split_path_list(*options.install_path);
  return lists;
}

fs::path module_file(const SessionOptions& options) {
  if (!options.module_file.empty()) return options.module_file;
  const char* named = std::getenv("UWUGIT_MODULE");
  return named && *named ? fs::path(named) : library_folder() / "uwugit_p.so";
}

}  // namespace

fs::path library_folder() {
  const fs::path command = fs::read_symlink("/proc/self/exe");
  return command.parent_path().parent_path() / "lib" / "uwugit";
}

Session::Session(const SessionOptions& options)
    : host_(search_lists(options)),
      log_output_(host_.log(), options.log),
      module_(std::make_unique<host::FunctionModule>(module_file(options), host_.control_block())),
      trace_(host_, options.is_traced),
      watchdog_(options.timeout),
      is_memory_shown_(options.is_memory_shown) {
  if (options.is_trusting) setenv("UWUGIT_TRUST_OBJECTS", "1", 1);  // read when libgit2 comes up
}

Session::~Session() {
  if (!is_memory_shown_) return;
  std::fflush(stdout);
  const host::PoolCounters counters = host_.pools().counters();
  std::fprintf(stderr,
               "MEMORY: %zu pools with %zu blocks of %zu bytes; %llu created, %llu destroyed, %llu "
               "recycled; %zu bytes reserved\n",
               counters.pools, counters.blocks, counters.bytes,
               static_cast<unsigned long long>(counters.created),
               static_cast<unsigned long long>(counters.destroyed),
               static_cast<unsigned long long>(counters.recycled), counters.reserved);
  for (const host::PoolDescription& pool : host_.pools().describe()) {
    std::fprintf(stderr, "MEMORY:   %-28s %8zu blocks %12zu bytes\n", pool.name.c_str(),
                 pool.blocks, pool.bytes);
  }
}

host::Outcome Session::call(const host::Function& function, std::span<const host::Value> values) {
  trace_.begin(function.name);
  const Watchdog::Watch watch = watchdog_.watch(function.name);
  const LogOutput::Call call(log_output_, function.name);
  host::Outcome outcome = host::call_function(host_, *module_, function, values);
  trace_.end();
  return outcome;
}

}  // namespace uwugit::runner
