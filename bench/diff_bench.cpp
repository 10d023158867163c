// diff_commits and get_diff_attribute beside raw libgit2.
//
// Raw is libgit2 initialised once, printing the same diff into buffers of the same size, one after
// the other in one reservation: no records, no names found again, no keys. Both take up and give
// back their memory in each round, so that page faults count on both sides. Histories are two
// commits each, made with git fast-import: many files with a few changed lines, or one file with
// all lines changed.
#include <git2.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <numeric>
#include <random>
#include <sstream>

#include "support.h"

namespace uwugit::bench {
namespace {

constexpr std::size_t kBuffer = 5'000'000;
constexpr std::size_t kReservation = std::size_t{1} << 30;
constexpr int kLinesInFile = 30;
constexpr int kAttributeFiles = 20'000;

struct Commits {
  std::string repo;
  std::string first;
  std::string second;
};

// A line of one file in the old or the new commit.
void write_line(std::ostream& out, bool is_new, int file, int line, bool is_changed) {
  out << (is_new && is_changed ? "  changed" : "  first") << "(" << file << ", " << line
      << ");  // a line of usual length\n";
}

// Two commits of that many files with that many lines each; in a file of `kLinesInFile` lines the
// second changes three of them, in any other every line.
Commits commits_of(int files, int lines) {
  static std::map<std::pair<int, int>, Commits> made;
  Commits& commits = made[{files, lines}];
  if (!commits.repo.empty()) return commits;
  const fs::path repo =
      work_folder() / ("diff-" + std::to_string(files) + "-" + std::to_string(lines));
  const fs::path stream = repo.string() + ".stream";
  fs::create_directory(repo);
  git(repo, {"init", "--quiet", "--bare"});
  std::ofstream out(stream);
  for (const bool is_new : {false, true}) {
    out << "commit refs/heads/main\ncommitter B <b@example.org> 1700000000 +0000\ndata 0\n";
    for (int file = 0; file < files; ++file) {
      std::ostringstream text;
      for (int line = 0; line < lines; ++line) {
        write_line(text, is_new, file, line, lines != kLinesInFile || line % 10 == 5);
      }
      out << "M 644 inline folder-" << file / 500 << "/file-" << file << ".c\ndata "
          << text.str().size() << "\n"
          << text.str() << "\n";
    }
  }
  out.close();
  git(repo, {"-c", "alias.import=!git fast-import --quiet < '" + stream.string() + "'", "import"});
  fs::remove(stream);
  const auto id = [&](const char* name) { return git(repo, {"rev-parse", name}).substr(0, 40); };
  commits = {repo.string(), id("main~1"), id("main")};
  return commits;
}

struct RawFile {
  const git_diff_delta* delta;
  char* text;
  std::size_t length;
};

struct RawFiles {
  char* memory = static_cast<char*>(mmap(nullptr, kReservation, PROT_READ | PROT_WRITE,
                                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
  char* next = memory;
  std::vector<RawFile> files;
  ~RawFiles() { munmap(memory, kReservation); }
};

int raw_line(const git_diff_delta* delta, const git_diff_hunk*, const git_diff_line* line,
             void* payload) {
  auto* raw = static_cast<RawFiles*>(payload);
  if (raw->files.empty() || raw->files.back().delta != delta) {
    if (!raw->files.empty()) raw->next += raw->files.back().length + 1;
    raw->files.push_back({delta, raw->next, 0});
  }
  RawFile& file = raw->files.back();
  const std::size_t size = line->content_len + 1;
  if (file.length + size >= kBuffer) return 0;
  file.text[file.length] = line->origin;
  std::memcpy(file.text + file.length + 1, line->content, line->content_len);
  file.length += size;
  return 0;
}

[[gnu::noinline]] std::size_t raw_diff(const Commits& commits) {
  git_repository* repo = nullptr;
  if (git_repository_open(&repo, commits.repo.c_str()) != 0) return 0;
  git_tree* trees[2] = {};
  const std::string* ids[2] = {&commits.first, &commits.second};
  for (int i = 0; i < 2; ++i) {
    git_oid oid;
    git_commit* commit = nullptr;
    git_oid_fromstrp(&oid, ids[i]->c_str());
    git_commit_lookup(&commit, repo, &oid);
    git_commit_tree(&trees[i], commit);
    git_commit_free(commit);
  }
  git_diff* diff = nullptr;
  git_diff_tree_to_tree(&diff, repo, trees[0], trees[1], nullptr);
  RawFiles files;
  git_diff_print(diff, GIT_DIFF_FORMAT_PATCH, raw_line, &files);
  git_diff_free(diff);
  for (git_tree* tree : trees) git_tree_free(tree);
  git_repository_free(repo);
  return files.files.size();
}

void diff_raw(benchmark::State& state, int files, int lines) {
  const Commits commits = commits_of(files, lines);
  git_libgit2_init();
  for (auto _ : state) {
    if (raw_diff(commits) != static_cast<std::size_t>(files)) state.SkipWithError("raw failed");
  }
  git_libgit2_shutdown();
}

void free_diff(const Commits& commits, benchmark::State& state) {
  host::Arguments arguments;
  call("free_diff_objects", arguments.text(commits.repo).text(commits.first).text(commits.second),
       state);
}

void diff_module(benchmark::State& state, int files, int lines) {
  const Commits commits = commits_of(files, lines);
  host::Arguments arguments;
  arguments.text(commits.repo).text(commits.first).text(commits.second);
  for (auto _ : state) {
    if (call("diff_commits", arguments, state) != files) state.SkipWithError("the diff failed");
    free_diff(commits, state);
  }
}

// What the process holds for a kept diff, beside the bytes of its contents.
void memory(benchmark::State& state, int files, int lines) {
  const Commits commits = commits_of(files, lines);
  for (auto _ : state) {
    host::Arguments arguments;
    arguments.text(commits.repo).text(commits.first).text(commits.second);
    call("diff_commits", arguments, state);  // once before, for libgit2's own caches
    free_diff(commits, state);
    const std::size_t before = resident_bytes();
    call("diff_commits", arguments, state);
    const std::size_t after = resident_bytes();
    std::size_t text = 0;
    LoadedHost& loaded = loaded_host();
    HostFunction* read = loaded.module.find("get_diff_attribute");
    for (int i = 1; i <= files; ++i) {
      host::Arguments attribute;
      attribute.number(i).text(commits.repo).text(commits.first).text(commits.second);
      loaded.host.call(read, attribute.text("DIFF_CONTENT").output(16).block());
      text += loaded.host.last_formatted().length;
    }
    state.counters["content_bytes"] = static_cast<double>(text);
    state.counters["held_bytes"] = static_cast<double>(after) - static_cast<double>(before);
    free_diff(commits, state);
  }
}

// Reads one attribute of every file in order or at random; the time is that of one read.
void read_attributes(benchmark::State& state, const char* attribute, bool is_random) {
  const Commits commits = commits_of(kAttributeFiles, kLinesInFile);
  host::Arguments diff;
  call("diff_commits", diff.text(commits.repo).text(commits.first).text(commits.second), state);
  std::vector<double> order(kAttributeFiles);
  std::iota(order.begin(), order.end(), 1.0);
  if (is_random) std::shuffle(order.begin(), order.end(), std::mt19937(1));
  host::Arguments arguments;
  arguments.number(1).text(commits.repo).text(commits.first).text(commits.second);
  arguments.text(attribute).output(1024);
  LoadedHost& loaded = loaded_host();
  HostFunction* read = loaded.module.find("get_diff_attribute");
  const HostArgumentBlock* block = arguments.block();
  double& number = arguments.number_at(0);
  std::size_t next = 0;
  for (auto _ : state) {
    number = order[next];
    if (++next == order.size()) next = 0;
    if (loaded.host.call(read, block).returned != 0) state.SkipWithError("the read failed");
  }
  free_diff(commits, state);
}

void register_rows() {
  const auto add = [](const std::string& work, int files, int lines) {
    for (const bool is_raw : {true, false}) {
      add_row((work + (is_raw ? "/raw" : "/module")).c_str(), is_raw ? diff_raw : diff_module,
              files, lines)
          ->Unit(benchmark::kMillisecond);
    }
  };
  for (const int files : {10, 2'500, 20'000}) {
    add("diff/" + std::to_string(files) + "_files", files, kLinesInFile);
  }
  // Each changed line of the old file and each of the new one is a line of the patch.
  for (const int lines : {125'000, 1'000'000}) {
    add("diff/one_file_with_" + std::to_string(lines) + "_changed_lines", 1, lines / 2);
  }
  for (const auto& [files, lines] :
       {std::pair{2'500, kLinesInFile}, {20'000, kLinesInFile}, {1, 500'000}}) {
    add_row(("memory/" + std::to_string(files) + "_files").c_str(), memory, files, lines)
        ->Iterations(1)
        ->Repetitions(1)
        ->Unit(benchmark::kMillisecond);
  }
  for (const char* attribute : {"FILE", "DIFF_CONTENT"}) {
    for (const bool is_random : {false, true}) {
      add_row((std::string("attribute/20000_files/") + attribute +
               (is_random ? "/random" : "/in_order"))
                  .c_str(),
              read_attributes, attribute, is_random);
    }
  }
}

}  // namespace
}  // namespace uwugit::bench

int main(int argc, char** argv) {
  uwugit::bench::register_rows();
  return uwugit::bench::run(argc, argv);
}
