// Calls the module's functions with whatever libFuzzer chooses. An input is a few calls, made one
// after the other on a fresh copy of the world (see world.sh), so that an input alone repeats what
// it found.
//
// What a function gets is what a host may give it: every argument that it needs, a number or a text
// where it expects one, and real memory behind each text, which the sanitizer guards. All else is
// the input's choice. Nothing outside the world is written or removed, and no server is asked.
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <set>

#include "uwugithost/call.h"

namespace {

namespace fs = std::filesystem;
using namespace uwugit;
using host::Kind;

// The words that are likely to lead a parameter of that name somewhere.
struct Words {
  std::set<std::string_view> parameters;
  std::vector<std::string> words;
};
// What leads on stands there more than once.
const std::vector<std::string> kPaths = {
    "repo", "repo",      "repo",        "repo",      "rebasing", "rebasing", "bare", "repo/",
    "none", "repo/.git", "repo/folder", "repo/file", "",         " ",        ".",    "made/deep"};
const std::vector<std::string> kBranches = {"main",
                                            "rival",
                                            "topic",
                                            "ahead",
                                            "loose",
                                            "clash",
                                            "mine",
                                            "v1",
                                            "HEAD",
                                            "origin/topic",
                                            "refs/heads/topic",
                                            "refs/tags/v1",
                                            "refs/stash",
                                            "stash@{0}",
                                            "main~1",
                                            "main:file",
                                            "bad..name"};
std::vector<Words> words = {
    {{"repository", "directory"}, kPaths},
    {{"url"},
     {"bare", "repo", "none", "file:///none", "http://127.0.0.1:1/x", "", "ssh://me@127.0.0.1:1/x",
      "git://127.0.0.1:1/x", "nothing://x"}},
    {{"external_file"}, {"written", "repo/file", "none/x", "repo", "", "repo/.git/config"}},
    {{"branch", "reference", "start", "onto"}, kBranches},
    {{"commit", "first", "second", "parent"}, {"INDEX", "WORKDIR", "HEAD", "main"}},
    {{"file"},
     {"file", "kept", "new", "untracked", "folder/deep", "folder", "*", "../x", ".git/x"}},
    {{"status"}, {"new", "modified", "deleted", "renamed", "typechange", "conflicted"}},
    {{"mode"}, {"SOFT", "mixed", "Hard "}},
    {{"operation"}, {"SKIP", "continue", "Finish", "ABORT "}},
    {{"refspec"}, {" ", "refs/heads/*:refs/remotes/origin/*", "+topic:refs/heads/got", ":"}},
    {{"attribute"},
     {"PATH", "ID", "FILE", "DIFF_CONTENT", "STAGED", "status", "AUTHOR", "EMAIL", "COMMITTER",
      "COMMITTER_EMAIL", "MESSAGE", "TIME", "PARENT_IDS", "CHILDREN_IDS", "STASH",
      "IN_CURRENT_BRANCH", "DIFF_TYPE "}},
    {{}, {"me", "me@example.org", "me", " ", "<>", "%s%n%d", "{uwugit1}AAAA", "/dev/null"}}};

const std::vector<std::string>& words_for(std::string_view parameter) {
  for (const Words& row : words) {
    if (row.parameters.contains(parameter)) return row.words;
  }
  return words.back().words;
}

// The world, and what it is copied from again and again.
fs::path world, original;

// Whether a path, as C reads it, lies in the world.
bool is_inside(const std::string& text) {
  const std::string path = (world / text.c_str()).lexically_normal().string();
  return path.starts_with(world.string() + "/");
}

// Texts that would lead out of the world become harmless ones.
std::string harmless(std::string_view parameter, std::string text) {
  constexpr std::string_view kWritten[] = {"repository", "directory", "external_file", "url"};
  const auto& known = words_for("url");
  if (parameter == "url" && std::count(known.begin(), known.end(), text) > 0) return text;
  if (parameter == "url") std::replace(text.begin(), text.end(), ':', '.');
  const bool is_path = std::count(std::begin(kWritten), std::end(kWritten), parameter) > 0;
  return is_path && !text.empty() && !is_inside(text) ? "repo" : text;
}

// What the calls of an input gave for a parameter of that name last: calls that belong together
// name the same repository and the same commits.
std::map<std::string_view, std::string> given;

std::string choose_text(FuzzedDataProvider& input, std::string_view parameter) {
  constexpr std::size_t kLongest = 70'000;
  const auto pick = [&](const std::vector<std::string>& list) {
    return list[input.ConsumeIntegralInRange<std::size_t>(0, list.size() - 1)];
  };
  const int way = input.ConsumeIntegralInRange(0, 15);
  if (way < 6 && given.contains(parameter)) return given[parameter];
  switch (way) {
    case 12:
      return input.ConsumeRandomLengthString(300);
    case 13:
      return std::string(input.ConsumeIntegralInRange<std::size_t>(0, kLongest),
                         input.ConsumeIntegral<char>());
    case 14:
      return pick(words[input.ConsumeIntegralInRange<std::size_t>(0, words.size() - 1)].words);
    case 15:
      return pick(words_for(parameter)) + input.ConsumeRandomLengthString(20);
    default:
      return pick(words_for(parameter));
  }
}

double choose_number(FuzzedDataProvider& input) {
  using Limits = std::numeric_limits<double>;
  constexpr double kNumbers[] = {1,
                                 0,
                                 2,
                                 3,
                                 -1,
                                 0.5,
                                 -0.0,
                                 2147483647,
                                 2147483648,
                                 -2147483649,
                                 Limits::quiet_NaN(),
                                 -Limits::quiet_NaN(),
                                 Limits::infinity(),
                                 -Limits::infinity(),
                                 Limits::max(),
                                 Limits::denorm_min()};
  if (input.ConsumeProbability<float>() < 0.8F) return input.PickValueInArray(kNumbers);
  return input.ConsumeFloatingPoint<double>();
}

// One argument, with memory of exactly the size that the function may touch.
struct Argument {
  HostString string{};
  double number = 0;
  bool is_null = false;
  std::unique_ptr<char[]> memory;

  void* value(Kind kind) {
    return kind == Kind::kNumber ? static_cast<void*>(&number) : is_null ? nullptr : &string;
  }
};

void fill(Argument& argument, const host::Parameter& parameter, FuzzedDataProvider& input) {
  if (parameter.kind == Kind::kNumber) {
    argument.number = choose_number(input);
    return;
  }
  HostString& string = argument.string;
  std::string text;
  if (parameter.kind == Kind::kOutput) {
    constexpr std::int32_t kCapacities[] = {0, 1, 2, 7, 40, 100, 5000, -1};
    string.capacity = input.PickValueInArray(kCapacities);
    string.length = input.ConsumeIntegral<std::int8_t>();
    text.resize(static_cast<std::size_t>(std::max(string.capacity, 0)));
  } else {
    text = given[parameter.name] = harmless(parameter.name, choose_text(input, parameter.name));
    const auto above = std::uint64_t{input.ConsumeIntegral<std::uint32_t>()} << 32;
    const auto low = input.ConsumeIntegralInRange(0, 31) == 31
                         ? input.ConsumeIntegralInRange<std::int32_t>(INT32_MIN, -1)
                         : static_cast<std::int32_t>(text.size());
    string.capacity = input.ConsumeIntegral<std::int32_t>();
    string.length = static_cast<std::int64_t>(above | static_cast<std::uint32_t>(low));
    argument.is_null = input.ConsumeIntegralInRange(0, 63) == 63;
  }
  string.reserved = input.ConsumeIntegral<std::int32_t>();
  if (text.empty() && input.ConsumeBool()) return;
  argument.memory = std::make_unique<char[]>(text.size());
  std::copy(text.begin(), text.end(), argument.memory.get());
  string.characters = argument.memory.get();
}

struct Module {
  host::Host host{{.system = {UWUGIT_LIBRARY_FOLDER}, .extension = {}, .install = {}}};
  host::FunctionModule functions{fs::path(UWUGIT_LIBRARY_FOLDER) / "uwugit_p.so",
                                 host.control_block()};
};
Module* module = nullptr;
std::size_t calls = 0, answers = 0;

// The parameters of one call: all that are needed, and as many of the others as the input wants.
std::vector<const host::Parameter*> choose_parameters(const host::Function& function,
                                                      FuzzedDataProvider& input) {
  std::vector<const host::Parameter*> list, repeated;
  std::size_t needed = 0;
  for (const host::Parameter& parameter : function.parameters) {
    list.push_back(&parameter);
    if (parameter.is_repeated) repeated.push_back(&parameter);
    if (!parameter.is_optional && !parameter.is_repeated) needed = list.size();
  }
  for (int i = 0; i < 4; ++i) list.insert(list.end(), repeated.begin(), repeated.end());
  list.resize(input.ConsumeIntegralInRange(needed, list.size()));
  return list;
}

// The arguments of a call, in the block that the function gets.
struct Call {
  Call(const host::Function& called, FuzzedDataProvider& input)
      : function(called),
        parameters(choose_parameters(called, input)),
        arguments(parameters.size()) {
    for (std::size_t i = 0; i < parameters.size(); ++i) fill(arguments[i], *parameters[i], input);
  }

  void make(const host::Function& with) {
    std::vector<std::uint64_t> block(6 + 2 * parameters.size(), 0x5555'5555'5555'5555);
    auto* const head = reinterpret_cast<HostArgumentBlock*>(block.data());
    head->count = static_cast<std::int64_t>(parameters.size());
    auto* const slots = reinterpret_cast<HostArgumentSlot*>(head + 1);
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      slots[i].value = arguments[i].value(parameters[i]->kind);
    }
    const auto result = module->host.call(module->functions.find(std::string(with.name)), head);
    ++calls;
    answers += !result.is_unchanged && result.code >= 0;
  }

  const host::Function& function;
  std::vector<const host::Parameter*> parameters;
  std::vector<Argument> arguments;
};

bool is_reading(std::string_view name) {
  return name.starts_with("get_") || name.starts_with("free_") || name == "diff_commits";
}

// A file that has these is the one that was copied.
using Stamp = std::tuple<ino_t, time_t, long>;
Stamp stamp_of(const fs::path& file) {
  struct stat found = {};
  lstat(file.c_str(), &found);
  return {found.st_ino, found.st_ctim.tv_sec, found.st_ctim.tv_nsec};
}

// Makes the world what it was. Only what has changed is copied, as there are hundreds of files.
void restore_world() {
  static std::map<fs::path, Stamp> stamps;
  fs::create_directories(world);
  fs::current_path(world);
  std::vector<fs::path> changed;
  for (const auto& it : fs::recursive_directory_iterator(world)) {
    const bool is_known = fs::is_directory(it.symlink_status())
                              ? fs::is_directory(original / it.path().lexically_relative(world))
                              : stamps.contains(it) && stamps[it] == stamp_of(it);
    if (!is_known) changed.push_back(it);
  }
  for (const fs::path& path : changed) fs::remove_all(path);
  for (const auto& it : fs::recursive_directory_iterator(original)) {
    const fs::path path = world / it.path().lexically_relative(original);
    if (fs::exists(path)) continue;
    fs::copy(it, path, fs::copy_options::none);
    stamps[path] = stamp_of(path);
  }
}

// All memory is given back then, but for what get_commit_attribute keeps when there is no history.
void check_pools() {
  for (const auto& pool : module->host.pools().describe()) {
    if (pool.name == "get_commit_attribute_pool") continue;
    std::fprintf(stderr, "ERROR: the pool %s holds %zu blocks.\n", pool.name.c_str(), pool.blocks);
    std::abort();
  }
}

// What calls leave in the module is given back by the same arguments.
void free_results(std::vector<std::unique_ptr<Call>>& made) {
  for (const auto& call : made) {
    const std::string_view name = call->function.name;
    const char* free = name == "get_status"        ? "free_status_objects"
                       : name == "get_commit_log"  ? "free_commit_objects"
                       : name.starts_with("diff_") ? "free_diff_objects"
                                                   : nullptr;
    if (name == "diff_file_in_index") {  // the names of the diff that it may leave
      static char index[] = "INDEX", working[] = "WORKDIR";
      call->arguments[1].string = {0, 0, sizeof index - 1, index};
      call->arguments[2].string = {0, 0, sizeof working - 1, working};
      call->arguments[1].is_null = call->arguments[2].is_null = false;
    }
    if (free) call->make(*host::find_function(free));
  }
  check_pools();
}

void watch_log() {
  module->host.log().set_sink([](const host::LogLine& line) {
    if (line.rendered().find("The run ends with code") == std::string::npos) return;
    std::fprintf(stderr, "%s\n", line.rendered().c_str());
    std::abort();
  });
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* const folder = std::getenv("UWUGIT_WORLD");
  if (!folder) std::fprintf(stderr, "Run attack/arguments.\n"), std::_Exit(2);
  world = folder;
  original = world.parent_path() / "original";
  fs::rename(world, original);
  std::ifstream ids(world.parent_path() / "ids");
  for (std::string id; std::getline(ids, id);) {
    for (Words& row : words) {
      if (row.parameters.contains("commit") || row.parameters.contains("branch"))
        row.words.push_back(id);
    }
  }
  module = new Module;
  words.back().words.push_back(module->host.passwords().encode("secret"));
  watch_log();
  restore_world();
  std::atexit([] { std::fprintf(stderr, "CALLS %zu %zu\n", calls, answers); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  std::vector<std::unique_ptr<Call>> made;
  bool is_world_changed = false;
  const auto functions = host::catalogue();
  given.clear();
  std::size_t next = 0;
  while (input.remaining_bytes() > 0 && made.size() < 12) {
    // Half of the time the next one of the catalogue: those that read a result stand behind its
    // maker.
    if (next == functions.size() || input.ConsumeBool()) {
      next = input.ConsumeIntegralInRange<std::size_t>(0, functions.size() - 1);
    }
    const auto& function = functions[next++];
    is_world_changed |= !is_reading(function.name);
    made.push_back(std::make_unique<Call>(function, input));
    made.back()->make(function);
  }
  free_results(made);
  if (is_world_changed) restore_world();
  return 0;
}
