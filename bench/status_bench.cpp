// get_status and get_status_attribute beside raw libgit2.
//
// Raw is libgit2 initialised once, doing the same two scans. The module's own share is what is left
// of a call when libgit2 answers at once (a stand-in library with ten changed files), with the
// companion's bracket measured beside it.
#include <git2.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <numeric>
#include <random>

#include "support.h"

namespace uwugit::bench {
namespace {

constexpr int kAttributeEntries = 100'000;
constexpr std::int64_t kFlatReads = 10'000'000;

// A repository of that many changed files, half of them tracked and modified, half new.
const fs::path& changed_repository(int files) {
  static std::map<int, fs::path> made;
  fs::path& repo = made[files];
  if (!repo.empty()) return repo;
  repo = work_folder() / ("changed-" + std::to_string(files));
  fs::create_directory(repo);
  git(repo, {"init", "--quiet"});
  const auto write = [&](int number, const char* content) {
    const fs::path file = repo / ("folder-" + std::to_string(number / 500)) /
                          ("file-" + std::to_string(number) + ".txt");
    fs::create_directories(file.parent_path());
    std::ofstream(file) << content;
  };
  for (int i = 0; i < files / 2; ++i) write(i, "first\n");
  git(repo, {"add", "--all"});
  git(repo, {"commit", "--quiet", "--message", "base"});
  for (int i = 0; i < files; ++i) write(i, "changed since\n");
  return repo;
}

int count_file(const char*, unsigned, void* payload) {
  ++*static_cast<int*>(payload);
  return 0;
}

int raw_status(const char* path) {
  git_repository* repo = nullptr;
  if (git_repository_open(&repo, path) != 0) return -1;
  git_status_options options = GIT_STATUS_OPTIONS_INIT;
  options.flags = GIT_STATUS_OPT_INCLUDE_UNTRACKED | GIT_STATUS_OPT_RENAMES_HEAD_TO_INDEX |
                  GIT_STATUS_OPT_SORT_CASE_SENSITIVELY | GIT_STATUS_OPT_UPDATE_INDEX;
  git_status_list* list = nullptr;
  int count = 0;
  if (git_status_list_new(&list, repo, &options) != 0 ||
      git_status_foreach(repo, count_file, &count) != 0) {
    count = -1;
  }
  git_status_list_free(list);
  git_repository_free(repo);
  return count;
}

void status_raw(benchmark::State& state, int files) {
  const std::string path = changed_repository(files).string();
  git_libgit2_init();
  for (auto _ : state) {
    if (raw_status(path.c_str()) != files) state.SkipWithError("raw status failed");
  }
  git_libgit2_shutdown();
}

void status_module(benchmark::State& state, int files) {
  host::Arguments arguments;
  arguments.text(changed_repository(files).string());
  for (auto _ : state) {
    if (call("get_status", arguments, state) != files) state.SkipWithError("get_status failed");
  }
}

// Reads one attribute of every entry in the given order; the time is that of one read.
void read_attributes(benchmark::State& state, const char* attribute, bool is_random) {
  const std::string path = changed_repository(kAttributeEntries).string();
  host::Arguments list;
  call("get_status", list.text(path), state);
  std::vector<double> order(kAttributeEntries);
  std::iota(order.begin(), order.end(), 1.0);
  if (is_random) std::shuffle(order.begin(), order.end(), std::mt19937(1));
  host::Arguments arguments;
  arguments.number(1).text(path).text(attribute).output(256);
  LoadedHost& loaded = loaded_host();
  HostFunction* read = loaded.module.find("get_status_attribute");
  const HostArgumentBlock* block = arguments.block();
  double& number = arguments.number_at(0);
  std::size_t next = 0;
  for (auto _ : state) {
    number = order[next];
    if (++next == order.size()) next = 0;
    if (loaded.host.call(read, block).code != 0) state.SkipWithError("the read failed");
  }
}

// What the memory alone costs: as many records of the same size, reached through an array of
// pointers in the same orders, and a text of each copied into a blank-filled variable.
void read_plain_records(benchmark::State& state, bool is_random) {
  struct Record {
    char path[80];
  };
  std::vector<std::unique_ptr<Record>> records(kAttributeEntries);
  for (auto& record : records) {
    record = std::make_unique<Record>();
    std::strcpy(record->path, "folder-100/file-10000.txt");
  }
  std::vector<std::size_t> order(kAttributeEntries);
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (is_random) std::shuffle(order.begin(), order.end(), std::mt19937(1));
  char variable[256];
  std::size_t next = 0;
  for (auto _ : state) {
    std::memset(variable, ' ', sizeof variable);
    const char* path = records[order[next]]->path;
    std::memcpy(variable, path, std::strlen(path));
    benchmark::DoNotOptimize(variable);
    benchmark::ClobberMemory();
    if (++next == order.size()) next = 0;
  }
}

// Ten million reads; what the process holds afterwards beside what it held before.
void read_ten_million(benchmark::State& state) {
  const std::string path = changed_repository(10).string();
  host::Arguments list;
  call("get_status", list.text(path), state);
  host::Arguments arguments;
  arguments.number(3).text(path).text("PATH").output(256);
  for (auto _ : state) {
    const std::size_t before = resident_bytes();
    const HostArgumentBlock* block = arguments.block();
    LoadedHost& loaded = loaded_host();
    HostFunction* read = loaded.module.find("get_status_attribute");
    for (std::int64_t i = 0; i < kFlatReads; ++i) loaded.host.call(read, block);
    state.counters["growth_bytes"] =
        static_cast<double>(resident_bytes()) - static_cast<double>(before);
  }
}

void companion_bracket(benchmark::State& state) {
  GitModule* git_module = loaded_host().host.modules().load(L"libgit2", ModuleLocation::kSystem);
  const auto find = [&](std::wstring_view name) {
    return reinterpret_cast<int (*)()>(git_module->lookup(git_module, name.data(), name.size(), 0));
  };
  auto* init = find(L"git_libgit2_init");
  auto* shutdown = find(L"git_libgit2_shutdown");
  for (auto _ : state) {
    init();
    shutdown();
  }
}

// get_status with a stand-in for libgit2 that answers at once.
void own_share(benchmark::State& state) {
  LoadedHost& loaded = loaded_host();
  const host::SearchLists before = loaded.host.modules().lists();
  loaded.host.modules().set_lists(
      {.system = {UWUGIT_STAND_IN_FOLDER}, .extension = {}, .install = {}});
  host::Arguments arguments;
  arguments.text("/a/path/of/usual/length");
  const HostArgumentBlock* block = arguments.block();
  HostFunction* function = loaded.module.find("get_status");
  for (auto _ : state) {
    if (loaded.host.call(function, block).code != 10) state.SkipWithError("not the stand-in");
  }
  loaded.host.modules().set_lists(before);
}

void register_rows() {
  for (const int files : {10, 1'000, 10'000, 100'000}) {
    const std::string work = "status/" + std::to_string(files) + "_files";
    const auto unit = files == 10 ? benchmark::kMicrosecond : benchmark::kMillisecond;
    add_row((work + "/raw").c_str(), status_raw, files)->Unit(unit);
    add_row((work + "/module").c_str(), status_module, files)->Unit(unit);
  }
  add_row("own_share/10_files", own_share);
  add_row("own_share/companion_bracket", companion_bracket);
  add_row("attribute/100000_entries/PATH/in_order", read_attributes, "PATH", false);
  add_row("attribute/100000_entries/PATH/random", read_attributes, "PATH", true);
  add_row("attribute/100000_entries/STATUS/random", read_attributes, "STATUS", true);
  add_row("attribute/100000_entries/STAGED/random", read_attributes, "STAGED", true);
  add_row("attribute/100000_plain_records/in_order", read_plain_records, false);
  add_row("attribute/100000_plain_records/random", read_plain_records, true);
  add_row("attribute/ten_million_reads", read_ten_million)
      ->Iterations(1)
      ->Repetitions(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace
}  // namespace uwugit::bench

int main(int argc, char** argv) {
  uwugit::bench::register_rows();
  return uwugit::bench::run(argc, argv);
}
