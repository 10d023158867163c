#include "support.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include "process.h"

namespace uwugit::bench {
namespace {

const fs::path kLibraryFolder = UWUGIT_LIBRARY_FOLDER;

// Keeps the medians of the rows and prints them in pairs.
class PairReporter : public benchmark::ConsoleReporter {
 public:
  bool ReportContext(const Context& context) override {
    std::printf(
        "libgit2 raw and through the module, in the same process; medians of the "
        "processor's time, repetitions interleaved at random.\n");
    return ConsoleReporter::ReportContext(context);
  }

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.aggregate_name != "median") continue;
      std::string name = run.run_name.function_name;
      if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
      medians_[name] = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-44s %14s %14s %9s\n", "work", "raw (µs)", "module (µs)", "ratio");
    for (const auto& [name, module_seconds] : medians_) {
      const std::size_t at = name.find("/module");
      if (at == std::string::npos) continue;
      std::string work = name;
      work.erase(at, 7);
      std::string raw = name;
      raw.replace(at, 7, "/raw");
      if (const auto found = medians_.find(raw); found != medians_.end()) {
        std::printf("%-44s %14.1f %14.1f %9.3f\n", work.c_str(), found->second * 1e6,
                    module_seconds * 1e6, module_seconds / found->second);
      }
    }
  }

 private:
  std::map<std::string, double> medians_;
};

struct WorkFolder {
  fs::path path = runner::temporary_folder();
  ~WorkFolder() {
    std::error_code error;
    fs::remove_all(path, error);
  }
};

}  // namespace

LoadedHost::LoadedHost(const fs::path& libgit2_folder)
    : host({.system = {libgit2_folder}, .extension = {}, .install = {}}),
      module(kLibraryFolder / "uwugit_p.so", host.control_block()) {
  host.log().set_sink(nullptr);
}

LoadedHost& loaded_host() {
  static LoadedHost loaded(kLibraryFolder);
  return loaded;
}

double call(std::string_view function, host::Arguments& arguments, benchmark::State& state) {
  LoadedHost& loaded = loaded_host();
  const host::CallResult result =
      loaded.host.call(loaded.module.find(std::string(function)), arguments.block());
  if (result.code < 0) state.SkipWithError("the function failed");
  return result.code;
}

const fs::path& work_folder() {
  static const WorkFolder folder;
  return folder.path;
}

std::string git(const fs::path& folder, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {
      "git", "-C", folder.string(), "-c", "user.name=Bench", "-c", "user.email=bench@example.org"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  runner::CommandResult result = runner::run(command);
  if (result.status != 0) {
    std::fprintf(stderr, "git %s failed:\n%s", arguments.front().c_str(), result.output.c_str());
    std::exit(EXIT_FAILURE);
  }
  return result.output;
}

std::size_t resident_bytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  statm >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t peak_resident_bytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

int run(int argc, char** argv) {
  // Own defaults in front, so that the command line may change them.
  char repetitions[] = "--benchmark_repetitions=9";
  char interleaving[] = "--benchmark_enable_random_interleaving=true";
  char minimum[] = "--benchmark_min_time=0.2";
  char aggregates[] = "--benchmark_report_aggregates_only=true";
  std::vector<char*> words = {argv[0], repetitions, interleaving, minimum, aggregates};
  words.insert(words.end(), argv + 1, argv + argc);
  int count = static_cast<int>(words.size());
  benchmark::Initialize(&count, words.data());
  if (benchmark::ReportUnrecognizedArguments(count, words.data())) return 1;
  PairReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}

}  // namespace uwugit::bench
