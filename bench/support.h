// What the benchmarks share: the module in a host, folders for generated repositories, and a report
// that puts each row of the module beside raw libgit2 doing the same work.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "uwugithost/call.h"

namespace uwugit::bench {

namespace fs = std::filesystem;

// The module, loaded as any host does; the log is dropped.
struct LoadedHost {
  explicit LoadedHost(const fs::path& libgit2_folder);

  host::Host host;
  host::FunctionModule module;
};

// The process's host, with the companion. Made at the first use.
LoadedHost& loaded_host();

// Registers a row as Google Benchmark does. UWUGIT_BENCH_ITERATIONS in the environment fixes how
// often each runs, for script/count-instructions.
template <class... Given>
benchmark::internal::Benchmark* add_row(const char* name, Given&&... given) {
  auto* row = benchmark::RegisterBenchmark(name, std::forward<Given>(given)...);
  if (const char* iterations = std::getenv("UWUGIT_BENCH_ITERATIONS")) {
    row->Iterations(std::atol(iterations));
  }
  return row;
}

// Calls a function of the module and ends the benchmark with an error when its code is negative.
double call(std::string_view function, host::Arguments& arguments, benchmark::State& state);

// A folder for generated repositories, made at the first use, removed when the process ends.
const fs::path& work_folder();

// Runs git in a folder. A git that fails ends the process with its output.
std::string git(const fs::path& folder, const std::vector<std::string>& arguments);

// Bytes of memory that the process holds now, and the most that it ever held.
std::size_t resident_bytes();
std::size_t peak_resident_bytes();

// Runs the benchmarks, repetitions interleaved. Rows are named WORK/SIZE/raw and WORK/SIZE/module;
// the ratio of their medians is printed at the end.
int run(int argc, char** argv);

}  // namespace uwugit::bench
