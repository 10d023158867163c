// get_commit_log and free_commit_objects beside raw libgit2 (raw_log.h). "walk" is libgit2's part
// alone, the walk and the lookups with nothing kept; what the module needs beyond it is its own
// share.
//
// UWUGIT_BENCH_REPOSITORY names a repository of your own that is measured as well.
#include <cstdlib>
#include <functional>

#include "raw_log.h"

namespace uwugit::bench {
namespace {

constexpr int kSizes[] = {25'000, 50'000, 100'000, 200'000};
constexpr int kCommits = 200'000;
constexpr int kTips = 20'000;

using Path = std::function<const fs::path&()>;

void build_walk(benchmark::State& state, const Path& repo) {
  const std::string path = repo().string();
  git_libgit2_init();
  for (auto _ : state) {
    if (raw_walk(path.c_str(), [](auto&&...) {}) <= 0) state.SkipWithError("the walk failed");
  }
  git_libgit2_shutdown();
}

void build_raw(benchmark::State& state, const Path& repo) {
  const std::string path = repo().string();
  git_libgit2_init();
  for (auto _ : state) {
    RawLog log = raw_log(path.c_str());
    if (log.empty()) state.SkipWithError("the raw log failed");
    state.PauseTiming();
    log.clear();
    state.ResumeTiming();
  }
  git_libgit2_shutdown();
}

void build_module(benchmark::State& state, const Path& repo) {
  const std::string path = repo().string();
  host::Arguments arguments;
  arguments.text(path);
  for (auto _ : state) {
    const double count = call("get_commit_log", arguments, state);
    state.PauseTiming();
    state.counters["commits"] = count;
    call("free_commit_objects", arguments, state);
    state.ResumeTiming();
  }
}

// Bytes a commit that a log holds: asked for from its pool, and resident in memory.
void memory(benchmark::State& state) {
  host::Arguments arguments;
  arguments.text(history(kCommits).string());
  host::Arguments read;
  read.number(1).text(history(kCommits).string()).text("ID").output(64);
  call("free_commit_objects", arguments, state);
  const std::size_t asked_before = loaded_host().host.pools().counters().bytes;
  for (auto _ : state) {
    const double count = call("get_commit_log", arguments, state);
    call("get_commit_attribute", read, state);  // with the index that reading makes
    const std::size_t held = resident_bytes();
    state.counters["asked_bytes"] =
        static_cast<double>(loaded_host().host.pools().counters().bytes - asked_before) / count;
    call("free_commit_objects", arguments, state);
    state.counters["resident_bytes"] = static_cast<double>(held - resident_bytes()) / count;
  }
}

void free_log(benchmark::State& state) {
  host::Arguments arguments;
  arguments.text(history(kCommits).string());
  for (auto _ : state) {
    state.PauseTiming();
    call("get_commit_log", arguments, state);
    state.ResumeTiming();
    call("free_commit_objects", arguments, state);
  }
}

void register_build(const std::string& work, const Path& repo) {
  const auto unit = benchmark::kMillisecond;
  add_row((work + "/walk").c_str(), build_walk, repo)->Unit(unit);
  add_row((work + "/raw").c_str(), build_raw, repo)->Unit(unit);
  add_row((work + "/module").c_str(), build_module, repo)->Unit(unit);
}

void register_rows() {
  for (const int size : kSizes) {
    register_build("log/" + std::to_string(size) + "_commits",
                   [size]() -> const fs::path& { return history(size); });
  }
  register_build("log/" + std::to_string(kTips) + "_branch_tips",
                 []() -> const fs::path& { return branches(kTips); });
  if (const char* given = std::getenv("UWUGIT_BENCH_REPOSITORY")) {
    static const fs::path repo = given;
    register_build("log/repository", []() -> const fs::path& { return repo; });
  }
  add_row("memory/200000_commits", memory)->Iterations(1)->Repetitions(1);
  add_row("free/200000_commits", free_log)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(1)
      ->Repetitions(3);
}

}  // namespace
}  // namespace uwugit::bench

int main(int argc, char** argv) {
  uwugit::bench::register_rows();
  return uwugit::bench::run(argc, argv);
}
