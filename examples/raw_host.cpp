// The smallest host: it speaks the calling convention itself and shows the status of a repository.
//
//     c++ -std=c++20 -I include examples/raw_host.cpp -o raw_host
//     ./raw_host build/release/lib/uwugit FOLDER
//
// What it leaves out is what other functions need: files (write_diff_to_file), passwords, and the
// registered functions of the module's entry (docs/hosting.md has all of it).
#include <dlfcn.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "uwugit/module_abi.h"
#include "uwugit/operations.h"

namespace {

using namespace uwugit;

void* checked(void* found, const char* what) {
  if (found) return found;
  std::fprintf(stderr, "there is no %s\n", what);
  std::exit(1);
}

// A pool knows its blocks, so that they can end with it.
struct Pool : HostPool {
  std::set<void*> blocks;
};
std::vector<Pool*> pools_of_call;  // made by the call that runs
Pool* of(HostPool* pool) { return static_cast<Pool*>(pool); }

void* allocate(HostPool* pool, std::size_t bytes, std::uint64_t) {
  return *of(pool)->blocks.insert(checked(std::malloc(bytes + 1), "memory")).first;
}
void free_block(HostPool* pool, void* block) {
  of(pool)->blocks.erase(block);
  std::free(block);
}
void* reallocate(HostPool* pool, void* block, std::size_t bytes, std::uint64_t) {
  of(pool)->blocks.erase(block);
  return *of(pool)->blocks.insert(checked(std::realloc(block, bytes + 1), "memory")).first;
}
int destroy(HostPool* pool) {
  for (void* block : of(pool)->blocks) std::free(block);
  std::erase(pools_of_call, pool);
  delete of(pool);
  return 0;
}
HostPool* create_pool(HostServices*, const PoolAttributes*, std::uint64_t, const char*) {
  return pools_of_call.emplace_back(
      new Pool{{{}, {}, destroy, allocate, free_block, reallocate}, {}});
}

// The only module that is ever asked for is libgit2, first at the system location.
std::string libgit2_file;
void* look_up(GitModule*, const wchar_t* name, std::size_t length, std::uint64_t) {
  static void* const library = dlopen(libgit2_file.c_str(), RTLD_NOW | RTLD_LOCAL);
  return dlsym(checked(library, "libgit2"), std::string(name, name + length).c_str());
}
GitModule* load_module(HostServices*, const wchar_t*, std::size_t, ModuleLocation, std::uint64_t) {
  static GitModule libgit2{{}, look_up};
  return &libgit2;
}

std::string formatted(const char* format, std::va_list arguments) {
  char text[8192];  // a longer text is cut
  std::vsnprintf(text, sizeof text, format, arguments);
  return text;
}

// "%1z" and "%3z" before a line tell an error from a note.
void write_log(const char* format, ...) {
  if (format[0] == '%' && format[2] == 'z') format += 3;
  std::va_list arguments;
  va_start(arguments, format);
  std::string line = formatted(format, arguments);
  va_end(arguments);
  if (line.ends_with('\n')) line.pop_back();
  std::fprintf(stderr, "%s\n", line.c_str());
}

std::int64_t format_variable(char* characters, std::int64_t capacity, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = formatted(format, arguments);
  va_end(arguments);
  return static_cast<std::int64_t>(text.copy(characters, static_cast<std::size_t>(capacity)));
}

void end_at_missing_operation() { checked(nullptr, "such operation in this host"); }

// No other vector than this one is reached by what is called here; that of the passwords may stay
// empty in every host.
HostControlBlock* control_block() {
  static std::array<HostOperation, 512> operations;
  static const HostOperation* vectors[1024]{};
  static HostTaskBlock task{};
  static HostServices services{};
  static HostAllocator allocator{};
  static unsigned char upper_case[256];
  static HostControlBlock gcb{};
  using namespace operation_number;
  operations.fill(end_at_missing_operation);
  operations[xpslog.slot] = reinterpret_cast<HostOperation>(write_log);
  operations[xpsstr.slot] = reinterpret_cast<HostOperation>(format_variable);
  vectors[xpslog.vector] = operations.data();
  for (int c = 0; c < 256; ++c) {
    upper_case[c] = static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  }
  services.create_pool = create_pool;
  services.load_module = load_module;
  allocator.allocate = [](HostAllocator*, std::size_t bytes, std::uint64_t, HostAllocator*, void*,
                          void*) { return checked(std::calloc(1, bytes), "memory"); };
  gcb.vectors = vectors;
  gcb.task = &task;
  gcb.upper_case = upper_case;
  gcb.allocator = &allocator;
  gcb.services = &services;
  return &gcb;
}

HostString variable(std::string& text, std::size_t used) {
  return {static_cast<std::int32_t>(text.size()), 0, static_cast<std::int64_t>(used), text.data()};
}

struct Arguments {
  HostArgumentBlock block{};
  HostArgumentSlot slots[4]{};
};

double call(void* module, const char* name, std::initializer_list<void*> values) {
  Arguments arguments;
  for (void* value : values) arguments.slots[arguments.block.count++].value = value;
  auto* function = reinterpret_cast<HostFunction*>(checked(dlsym(module, name), name));
  double code = 0;
  function(&arguments.block, &code);
  for (Pool* pool : pools_of_call) {
    if (pool->blocks.empty()) delete pool;  // the module leaves those to the host
  }
  pools_of_call.clear();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) checked(nullptr, "folder of the libraries and of a repository: name both");
  libgit2_file = std::string(argv[1]) + "/libgit2.so";
  void* const module =
      checked(dlopen((std::string(argv[1]) + "/uwugit_p.so").c_str(), RTLD_NOW), "module");
  auto* start = reinterpret_cast<ModuleBootstrap*>(checked(dlsym(module, "mcn_main"), "mcn_main"));
  static std::uint64_t process_block[64];
  const ModuleInformation* information = start(control_block(), process_block);
  if (information->marker != kInformationMarker) checked(nullptr, "function module in that file");

  std::string place = argv[2], name = "PATH", path(4096, ' ');
  HostString repository = variable(place, place.size()), attribute = variable(name, name.size());
  const double count = call(module, "get_status", {&repository});
  for (double number = 1; number <= count; ++number) {
    HostString value = variable(path, 0);
    call(module, "get_status_attribute", {&number, &repository, &attribute, &value});
    // The module fills the variable with blanks behind the value.
    std::printf("%s\n", path.substr(0, path.find_last_not_of(' ') + 1).c_str());
  }
  call(module, "free_status_objects", {&repository});
  return count >= 0 ? 0 : 1;
}
