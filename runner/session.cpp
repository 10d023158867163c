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
      status_line_(!options.log.is_quiet && StatusLine::is_possible()),
      log_output_(host_.log(), options.log, status_line_),
      module_(std::make_unique<host::FunctionModule>(module_file(options), host_.control_block())),
      trace_(host_, options.is_traced),
      watchdog_(options.timeout),
      is_memory_shown_(options.is_memory_shown) {
  host_.set_observer(this);
  if (options.is_trusting) setenv("UWUGIT_TRUST_OBJECTS", "1", 1);  // read when libgit2 comes up
}

Session::~Session() {
  host_.set_observer(nullptr);
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
  const Watchdog::Watch watch = watchdog_.watch(function.name);
  return host::call_function(host_, *module_, function, values);
}

void Session::begin(const host::Function& function) noexcept {
  interruptible_.emplace();
  is_call_ended_ = false;
  trace_.begin(function.name);
  log_output_.set_function(function.name);
  status_line_.begin(function.name);
}

bool Session::go_on(const WorkProgress& progress) noexcept {
  status_line_.update(progress);
  if (!is_interrupted()) return true;
  if (progress.can_end) is_call_ended_ = true;
  return false;
}

bool Session::end() noexcept {
  status_line_.end();
  log_output_.set_function({});
  trace_.end();
  interruptible_.reset();
  return !is_call_ended_;
}

}  // namespace uwugit::runner
