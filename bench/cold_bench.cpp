// What a small call costs without the companion: libgit2 comes up and goes down in every call. In a
// process of its own, since one held initialisation would hide it.
#include <git2.h>

#include <fstream>

#include "support.h"

namespace uwugit::bench {
namespace {

const fs::path& repository() {
  static const fs::path repo = [] {
    const fs::path made = work_folder() / "repo";
    fs::create_directory(made);
    git(made, {"init", "--quiet"});
    for (int i = 0; i < 10; ++i) std::ofstream(made / ("file-" + std::to_string(i))) << "new\n";
    return made;
  }();
  return repo;
}

// A folder whose libgit2.so is the distribution's own.
fs::path plain_libgit2() {
  const fs::path folder = work_folder() / "plain";
  fs::create_directory(folder);
  fs::create_symlink(UWUGIT_LIBGIT2_FILE, folder / "libgit2.so");
  return folder;
}

void get_status(benchmark::State& state, const fs::path& libgit2_folder) {
  LoadedHost loaded(libgit2_folder);
  host::Arguments arguments;
  arguments.text(repository().string());
  HostFunction* function = loaded.module.find("get_status");
  for (auto _ : state) {
    if (loaded.host.call(function, arguments.block()).code != 10) state.SkipWithError("failed");
  }
}

}  // namespace
}  // namespace uwugit::bench

int main(int argc, char** argv) {
  using namespace uwugit::bench;
  // In this order and not interleaved: the companion's initialisation stays.
  char in_order[] = "--benchmark_enable_random_interleaving=false";
  std::vector<char*> words = {argv[0], in_order};
  words.insert(words.end(), argv + 1, argv + argc);
  const fs::path plain = plain_libgit2();
  add_row("get_status/10_files/without_companion", get_status, plain)
      ->Unit(benchmark::kMicrosecond);
  add_row("get_status/10_files/with_companion", get_status, fs::path(UWUGIT_LIBRARY_FOLDER))
      ->Unit(benchmark::kMicrosecond);
  return run(static_cast<int>(words.size()), words.data());
}
