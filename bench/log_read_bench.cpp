// get_commit_attribute beside a program that has the same log in memory (raw_log.h). In a process
// of its own: the holes that a raw log leaves in the heap slow libgit2 down.
#include <algorithm>
#include <cstring>
#include <functional>
#include <numeric>
#include <random>
#include <span>

#include "raw_log.h"

namespace uwugit::bench {
namespace {

constexpr int kCommits = 200'000;
constexpr std::size_t kVariable = 1024;

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
  const std::string path = history(kCommits).string();
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

void register_rows() {
  const Attributes all(kAttributes);
  const std::pair<std::string, Attributes> readings[] = {{"attributes/all", all},
                                                         {"attributes/ID", all.first(1)},
                                                         {"attributes/MESSAGE", all.last(1)}};
  for (const auto& [name, attributes] : readings) {
    for (const bool is_random : {false, true}) {
      const std::string work = name + (is_random ? "/random" : "/in_order");
      add_row((work + "/raw").c_str(), read_raw, attributes, is_random);
      add_row((work + "/module").c_str(), read_module, attributes, is_random);
    }
  }
}

}  // namespace
}  // namespace uwugit::bench

int main(int argc, char** argv) {
  uwugit::bench::register_rows();
  return uwugit::bench::run(argc, argv);
}
