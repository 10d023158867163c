// get_commit_log, get_commit_attribute and free_commit_objects beside raw libgit2.
//
// Raw is a plain program on libgit2 that builds the same log: the same walk and lookups, the same
// texts copied into strings, the same links and marks, pending parents in a hash table. "walk" is
// libgit2's part alone (the walk, the lookups, nothing kept); what the module needs beyond it is
// its own share. The texts of a generated commit take 600 bytes.
//
// UWUGIT_BENCH_REPOSITORY names a repository of your own that is measured as well.
#include <git2.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <span>
#include <unordered_map>

#include "support.h"

namespace uwugit::bench {
namespace {

constexpr int kSizes[] = {25'000, 50'000, 100'000, 200'000};
constexpr int kCommits = 200'000;
constexpr int kTips = 20'000;
constexpr std::size_t kMessage = 494;
constexpr std::size_t kVariable = 1024;

// One commit of a fast-import stream; its texts take 600 bytes.
void write_commit(std::ostream& stream, int mark, const std::string& branch, int parent,
                  int second_parent) {
  const std::string number = std::to_string(1'000'000 + mark % 50);
  std::string message = "Commit " + std::to_string(mark) + ": ";
  while (message.size() < kMessage) message += "words that tell what was changed and why. ";
  message.resize(kMessage);
  const std::string time = std::to_string(1'000'000'000 + mark * 60) + " +0000\n";
  stream << "commit refs/heads/" << branch << "\nmark :" << mark << "\nauthor Author Number "
         << number << " <author" << number << "@example.org> " << time << "committer Committer "
         << number << " <committer" << number << "@example.org> " << time << "data "
         << message.size() << "\n"
         << message << "\n";
  if (parent > 0) stream << "from :" << parent << "\n";
  if (second_parent > 0) stream << "merge :" << second_parent << "\n";
  stream << "\n";
}

fs::path import(const std::string& name, const std::function<void(std::ostream&)>& write) {
  fs::path repo = work_folder() / name;
  fs::create_directory(repo);
  git(repo, {"init", "--quiet", "--initial-branch=main"});
  const fs::path file = work_folder() / "stream";
  std::ofstream stream(file);
  write(stream);
  stream.close();
  git(repo, {"-c", "alias.load=!git fast-import --quiet < " + file.string(), "load"});
  git(repo, {"pack-refs", "--all"});
  fs::remove(file);
  return repo;
}

// Every tenth commit is a merge of a side branch of one commit.
const fs::path& history(int commits) {
  static std::map<int, fs::path> made;
  fs::path& repo = made[commits];
  if (!repo.empty()) return repo;
  return repo = import("history-" + std::to_string(commits), [&](std::ostream& stream) {
           int main = 0;
           for (int mark = 1; mark <= commits; ++mark) {
             const bool has_side = mark % 10 == 8 && mark < commits - 1;
             write_commit(stream, mark, "main", main, 0);
             main = mark;
             if (!has_side) continue;
             write_commit(stream, mark + 1, "side", mark - 1, 0);
             write_commit(stream, mark + 2, "main", mark, mark + 1);
             main = mark += 2;
           }
           stream << "reset refs/heads/side\nfrom :" << main << "\n\n";
         });
}

// A root, and on it branches of two commits each: the walk meets all tips before the first parent.
const fs::path& branches() {
  static const fs::path repo = import("branches", [](std::ostream& stream) {
    write_commit(stream, 1, "main", 0, 0);
    for (int i = 0; i < kTips; ++i) write_commit(stream, 2 + i, "b" + std::to_string(i), 1, 0);
    for (int i = 0; i < kTips; ++i) {
      write_commit(stream, 2 + kTips + i, "b" + std::to_string(i), 2 + i, 0);
    }
  });
  return repo;
}

struct RawCommit {
  std::string id, message, author, email, committer, committer_email;
  bool is_stash = false;
  int state = -1;
  std::int64_t time = 0;
  std::vector<RawCommit*> parents, children;
};
struct IdHash {
  std::size_t operator()(const git_oid& oid) const {
    std::size_t hash;
    std::memcpy(&hash, oid.id, sizeof hash);
    return hash;
  }
};
struct SameId {
  bool operator()(const git_oid& a, const git_oid& b) const {
    return std::memcmp(a.id, b.id, sizeof a.id) == 0;
  }
};
using RawLog = std::vector<std::unique_ptr<RawCommit>>;

// Walks as the module does and gives each commit to `visit`, which may be empty.
template <class Visit>
int raw_walk(const char* path, Visit visit) {
  git_repository* repo = nullptr;
  git_revwalk* walk = nullptr;
  if (git_repository_open(&repo, path) < 0 || git_revwalk_new(&walk, repo) < 0) return -1;
  git_revwalk_sorting(walk, GIT_SORT_TOPOLOGICAL | GIT_SORT_TIME);
  git_oid stash{};
  git_oid head{};
  int count = git_revwalk_push_head(walk);
  for (const char* glob : {"refs/remotes", "refs/heads", "refs/tags"}) {
    if (count == 0) count = git_revwalk_push_glob(walk, glob);
  }
  if (git_reference_name_to_id(&stash, repo, "refs/stash") == 0) git_revwalk_push(walk, &stash);
  git_reference_name_to_id(&head, repo, "HEAD");
  for (git_oid oid; count >= 0 && git_revwalk_next(&oid, walk) == 0;) {
    git_commit* commit = nullptr;
    if (git_commit_lookup(&commit, repo, &oid) < 0) continue;
    visit(oid, commit, stash, head);
    git_commit_free(commit);
    ++count;
  }
  git_revwalk_free(walk);
  git_repository_free(repo);
  return count;
}

std::string hexadecimal(const git_oid& oid) {
  char text[41];
  return git_oid_tostr(text, sizeof text, &oid);
}

RawLog raw_log(const char* path) {
  RawLog log;
  std::unordered_map<git_oid, std::unique_ptr<RawCommit>, IdHash, SameId> pending;
  raw_walk(path, [&](const git_oid& oid, const git_commit* commit, const git_oid& stash,
                     const git_oid& head) {
    std::unique_ptr<RawCommit> made;
    if (const auto found = pending.find(oid); found != pending.end()) {
      made = std::move(found->second);
      pending.erase(found);
    } else {
      made = std::make_unique<RawCommit>();
      made->id = hexadecimal(oid);
    }
    RawCommit* it = made.get();
    it->is_stash = SameId{}(oid, stash);
    if (SameId{}(oid, head)) it->state = 1;
    if (it->state == -1) it->state = 0;
    it->message = git_commit_message(commit);
    it->author = git_commit_author(commit)->name;
    it->email = git_commit_author(commit)->email;
    it->committer = git_commit_committer(commit)->name;
    it->committer_email = git_commit_committer(commit)->email;
    it->time = git_commit_time(commit);
    const unsigned parents = git_commit_parentcount(commit);
    it->parents.reserve(parents);
    for (unsigned i = 0; i < parents; ++i) {
      const git_oid& parent_id = *git_commit_parent_id(commit, i);
      std::unique_ptr<RawCommit>& parent = pending[parent_id];
      if (!parent) {
        parent = std::make_unique<RawCommit>();
        parent->id = hexadecimal(parent_id);
      }
      it->parents.push_back(parent.get());
      parent->children.push_back(it);
      parent->state = std::max(parent->state, it->state);
    }
    log.push_back(std::move(made));
  });
  return log;
}

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

std::vector<std::size_t> reading_order(std::size_t count, bool is_random) {
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (is_random) std::shuffle(order.begin(), order.end(), std::mt19937(1));
  return order;
}

// What a program of its own does to read a value: blanks, and the value's bytes over them.
void put(std::string& variable, const std::string& value) {
  std::memset(variable.data(), ' ', variable.size());
  std::memcpy(variable.data(), value.data(), std::min(variable.size(), value.size()));
  benchmark::ClobberMemory();
}
std::string joined(const std::vector<RawCommit*>& commits) {
  std::string text;
  for (const RawCommit* commit : commits) text += (text.empty() ? "" : ",") + commit->id;
  return text;
}

using RawReader = std::function<void(const RawCommit&, std::string&)>;
const std::pair<const char*, RawReader> kAttributes[] = {
    {"ID", [](const RawCommit& it, std::string& to) { put(to, it.id); }},
    {"AUTHOR", [](const RawCommit& it, std::string& to) { put(to, it.author); }},
    {"EMAIL", [](const RawCommit& it, std::string& to) { put(to, it.email); }},
    {"COMMITTER", [](const RawCommit& it, std::string& to) { put(to, it.committer); }},
    {"COMMITTER_EMAIL", [](const RawCommit& it, std::string& to) { put(to, it.committer_email); }},
    {"TIME", [](const RawCommit& it, std::string& to) { put(to, std::to_string(it.time)); }},
    {"PARENT_IDS", [](const RawCommit& it, std::string& to) { put(to, joined(it.parents)); }},
    {"CHILDREN_IDS", [](const RawCommit& it, std::string& to) { put(to, joined(it.children)); }},
    {"STASH",
     [](const RawCommit& it, std::string& to) { put(to, it.is_stash ? "TRUE" : "FALSE"); }},
    {"IN_CURRENT_BRANCH",
     [](const RawCommit& it, std::string& to) { put(to, it.state == 1 ? "TRUE" : "FALSE"); }},
    {"MESSAGE", [](const RawCommit& it, std::string& to) { put(to, it.message); }},
};

using Attributes = std::span<const std::pair<const char*, RawReader>>;

// Reads the attributes of one commit after the other; the time is that of one read.
void read_raw(benchmark::State& state, Attributes attributes, bool is_random) {
  git_libgit2_init();
  static const RawLog log = raw_log(history(kCommits).c_str());
  git_libgit2_shutdown();
  const std::vector<std::size_t> order = reading_order(log.size(), is_random);
  std::string variable(kVariable, ' ');
  std::size_t commit = 0;
  std::size_t attribute = 0;
  for (auto _ : state) {
    attributes[attribute].second(*log[order[commit]], variable);
    if (++attribute < attributes.size()) continue;
    attribute = 0;
    if (++commit == order.size()) commit = 0;
  }
}

void read_module(benchmark::State& state, Attributes attributes, bool is_random) {
  // Under a name of its own, which the rows that free a log leave alone.
  const std::string path = (history(kCommits) / ".git").string();
  host::Arguments list;
  static const double count = call("get_commit_log", list.text(path), state);
  const std::vector<std::size_t> order = reading_order(static_cast<std::size_t>(count), is_random);
  std::vector<host::Arguments> arguments(attributes.size());
  std::vector<const HostArgumentBlock*> blocks;
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    arguments[i].number(1).text(path).text(attributes[i].first).output(kVariable);
    blocks.push_back(arguments[i].block());
  }
  LoadedHost& loaded = loaded_host();
  HostFunction* read = loaded.module.find("get_commit_attribute");
  std::size_t commit = 0;
  std::size_t attribute = 0;
  for (auto _ : state) {
    arguments[attribute].number_at(0) = static_cast<double>(order[commit] + 1);
    if (loaded.host.call(read, blocks[attribute]).returned != 0) state.SkipWithError("no log");
    if (++attribute < attributes.size()) continue;
    attribute = 0;
    if (++commit == order.size()) commit = 0;
  }
}

// Bytes a commit that a log holds: asked for from its pool, and resident in memory.
void memory(benchmark::State& state) {
  host::Arguments arguments;
  arguments.text(history(kCommits).string());
  host::Arguments read;
  read.number(1).text(history(kCommits).string()).text("ID").output(kVariable);
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
  benchmark::RegisterBenchmark((work + "/walk").c_str(), build_walk, repo)->Unit(unit);
  benchmark::RegisterBenchmark((work + "/raw").c_str(), build_raw, repo)->Unit(unit);
  benchmark::RegisterBenchmark((work + "/module").c_str(), build_module, repo)->Unit(unit);
}

void register_rows() {
  for (const int size : kSizes) {
    register_build("log/" + std::to_string(size) + "_commits",
                   [size]() -> const fs::path& { return history(size); });
  }
  register_build("log/" + std::to_string(kTips) + "_branch_tips", branches);
  if (const char* given = std::getenv("UWUGIT_BENCH_REPOSITORY")) {
    static const fs::path repo = given;
    register_build("log/repository", []() -> const fs::path& { return repo; });
  }
  const Attributes all(kAttributes);
  const std::pair<std::string, Attributes> readings[] = {{"attributes/all", all},
                                                         {"attributes/ID", all.first(1)},
                                                         {"attributes/MESSAGE", all.last(1)}};
  for (const auto& [name, attributes] : readings) {
    for (const bool is_random : {false, true}) {
      const std::string work = name + (is_random ? "/random" : "/in_order");
      benchmark::RegisterBenchmark((work + "/raw").c_str(), read_raw, attributes, is_random);
      benchmark::RegisterBenchmark((work + "/module").c_str(), read_module, attributes, is_random);
    }
  }
  benchmark::RegisterBenchmark("memory/200000_commits", memory)->Iterations(1)->Repetitions(1);
  benchmark::RegisterBenchmark("free/200000_commits", free_log)
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
