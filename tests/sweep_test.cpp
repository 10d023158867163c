// One sweep over the catalogue: every function with every libgit2 function that it looks up missing
// and failing, and with a libgit2 that cannot be used. The cases and their answers stand in
// sweep.txt; this program writes the answers there with UWUGIT_WRITE_EXPECTED=1 in its environment.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <sstream>

#include "process.h"
#include "support/leaks.h"
#include "support/module_test.h"

namespace uwugit::host {
void PrintTo(const Function& function, std::ostream* out) { *out << function.name; }
}  // namespace uwugit::host

namespace uwugit::test {
namespace {

const fs::path kFile = UWUGIT_SOURCE_FOLDER "/tests/sweep.txt";

// libgit2's own functions for the thread's error.
template <class Function>
Function* libgit2(const char* name) {
  static void* const library = dlopen((kLibraryFolder / "libgit2.so").c_str(), RTLD_NOW);
  return reinterpret_cast<Function*>(dlsym(library, name));
}

template <class Function>
void* address(Function* function) {
  return reinterpret_cast<void*>(function);
}
int fail_silently() {
  libgit2<void()>("git_error_clear")();
  return -1;
}
int fail_with_error() {
  libgit2<void(int, const char*)>("git_error_set_str")(9, "made up");
  return -1;
}
int tell_1_10(int* major, int* minor, int*) { return *major = 1, *minor = 10, 0; }
int tell_sha256() { return 1 << 11; }
void format_long_id(char* text, const void*) { std::strcpy(text, "00"); }
void* answer_null() { return nullptr; }

// One way in which a name goes wrong: what it answers instead, and how the log reports that.
struct Way {
  std::string mark, name;
  void* replacement;
  std::string report;
};

// What answers no code cannot fail: it releases, counts, or answers what is always there.
constexpr char kCannotFail[] =
    "@(*_free|*_clear|*_features|*_version|git_oid_tostr*|git_reference_name|"
    "git_annotated_commit_id|git_commit_@(author|committer|message|time|parent*))";
constexpr char kMayBeNull[] = "@(git_error_last|git_reference_?(symbolic_)target)";

std::vector<Way> ways(const std::string& name) {
  const std::string none = "ERROR: No detailed error info available.";
  const Way missing = {"?", name, nullptr, none};
  if (is_like(name, kCannotFail)) return {missing};
  if (is_like(name, kMayBeNull)) return {missing, {"!", name, address(answer_null), none}};
  return {missing,
          {"0", name, address(fail_silently), none},
          {"1", name, address(fail_with_error), "ERROR: Return code from GIT is (9). made up"}};
}

const Way kUnusable[] = {
    {"libgit2", "libgit2", nullptr, "ERROR: libgit2.so not found."},
    {"1.10", "git_libgit2_version", address(tell_1_10),
     "ERROR: * Versions 1.1 to 1.9 are supported."},
    {"SHA-256", "git_libgit2_features", address(tell_sha256), "ERROR: * SHA-256, *"},
    {"long ids", "git_oid_fmt", address(format_long_id), "ERROR: * SHA-256, *"}};

// A case as it stands in the file. Its last line is the call.
struct Case {
  std::vector<std::string> lines;
  std::string answers;

  std::vector<std::string> with(char sign) const {
    std::vector<std::string> found;
    for (const std::string& line : lines) {
      if (line.starts_with(sign)) found.push_back(line.substr(2));
    }
    return found;
  }
};

std::vector<Case> read_cases() {
  std::vector<Case> cases(1);
  std::istringstream file(read_file(kFile));
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("  ")) {
      cases[cases.size() - 2].answers += line + "\n";
      continue;
    }
    cases.back().lines.push_back(line);
    if (!std::strchr("#%$~+-", line[0])) cases.emplace_back();
  }
  cases.pop_back();
  return cases;
}

class Sweep : public testing::TestWithParam<host::Function> {
 protected:
  // Thousands of small files are made and removed: in memory, where the system has such a folder.
  static void SetUpTestSuite() {
    if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 1);
  }
  Sweep() {
    fs::create_directory(world_);
    shell(world_, cases_[0].with('%'));
    copy(world_, base_);
  }
  ~Sweep() override { fs::current_path("/"); }

  static void shell(const fs::path& folder, const std::vector<std::string>& lines) {
    std::string script = "cd '" + folder.string() + "'; uwugit='" UWUGIT_COMMAND "'\n";
    for (const std::string& line : lines) script += line + "\n";
    const auto result = runner::run({"sh", "-ec", script});
    EXPECT_EQ(result.status, 0) << script << result.output;
  }
  static void copy(const fs::path& from, const fs::path& to) {
    fs::remove_all(to);
    fs::copy(from, to, fs::copy_options::recursive);
    fs::current_path(to);
  }

  // A call as it stands in the file: its code, what it returns and what it logs.
  std::string call(const host::FunctionModule& module, const std::string& line,
                   const std::string& report = "") {
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) {
      if (word[0] == '#' && ids_[word].empty()) {
        ids_[word] = git(base_ / "repo", {"rev-parse", word.substr(1)});
      }
      words.push_back(word == "_" ? " " : word[0] == '#' ? ids_[word] : word);
    }
    log_.clear();
    const host::Function& function = *host::find_function(words[0]);
    const auto values = host::values_from_words(function, std::span(words).subspan(1));
    const host::Outcome outcome = host::call_function(host_, module, function, values);
    std::string answer = outcome.code_text();
    if (outcome.result.returned) answer += " (" + std::to_string(outcome.result.returned) + ")";
    for (const host::LogLine& it : log_.lines()) {
      const std::string shown = it.rendered();
      if (shown.starts_with("NOTE: libgit2.so not found")) continue;
      const std::size_t end = is_like(shown, "ERROR: Return code from GIT is (*") ? 31 : 0;
      answer += " | " + (is_like(shown, report)                 ? "REPORT"
                         : is_like(shown, "*version 1.[1-9].*") ? "VERSION"
                         : end > 0 ? "GIT" + shown.substr(end, shown.find(')') - end + 1)
                                   : shown);
    }
    return answer;
  }

  // What a case answers on a fresh copy of its state. All must be well then.
  std::string answer(const Case& it, const Way& way, std::vector<std::string>* names = nullptr) {
    copy(prepared_, world_);
    std::optional<host::FunctionModule> module(std::in_place, kModuleFile, host_.control_block());
    for (const std::string& line : it.with('+')) call(*module, line);
    const std::vector<std::string> failing = it.with('~');
    host_.modules().set_lookup_hook([&](std::string_view name, void* found) {
      if (names && std::count(names->begin(), names->end(), name) == 0) names->emplace_back(name);
      if (std::count(failing.begin(), failing.end(), name) > 0) found = address(fail_silently);
      if (name != way.name) return found;
      if (!way.replacement) fail_silently();
      return way.replacement;
    });
    if (way.name == "libgit2") host_.modules().set_lists({});
    const std::string text = call(*module, it.lines.back(), way.report);
    host_.modules().set_lookup_hook({});
    host_.modules().set_lists(lists_);
    if (way.name == "git_libgit2_shutdown") libgit2<int()>("git_libgit2_shutdown")();
    for (const std::string& line : it.with('-')) call(*module, line);
    // What libgit2 told of itself is kept: only a new module asks again.
    if (way.mark.size() > 1) module.emplace(kModuleFile, host_.control_block());
    const std::string where = it.lines.back() + " with " + way.mark + way.name;
    for (const auto& entry : fs::recursive_directory_iterator(world_)) {
      EXPECT_NE(entry.path().extension(), ".lock") << where << entry.path();
    }
    EXPECT_EQ(call(*module, "get_status ../untouched"), "0") << where;
    EXPECT_EQ(call(*module, "free_status_objects ../untouched"), "0") << where;
    EXPECT_EQ(host_.pools().counters().pools, 0u) << where;
    return text;
  }

  // All that a case answers, as it stands in the file. Each name is tried once for a function.
  std::string answers(const Case& it) {
    copy(base_, world_);
    shell(world_ / "repo", it.with('$'));
    copy(world_, prepared_);
    std::vector<std::string> names;
    std::vector<std::pair<std::string, std::string>> rows = {{answer(it, {}, &names), ""}};
    const auto add = [&](const std::string& text, const std::string& name) {
      auto row = std::find_if(rows.begin(), rows.end(), [&](auto& r) { return r.first == text; });
      if (row == rows.end()) row = rows.insert(row, {text, ""});
      row->second += (row->second.empty() ? " <- " : " ") + name;
    };
    const LeaksOnPurpose leaks;
    if (known_.insert("").second) {
      for (const Way& way : kUnusable) add(answer(it, way), way.mark);
    }
    for (const std::string& name : names) {
      if (!known_.insert(name).second) continue;
      std::vector<std::pair<std::string, std::string>> texts;
      for (const Way& way : ways(name)) texts.emplace_back(answer(it, way), way.mark);
      if (texts.size() == 3 && texts[1].first == texts[2].first)
        texts = {texts[0], {texts[1].first, "!"}};
      if (texts.back().first == texts[0].first) texts = {{texts[0].first, ""}};
      for (const auto& [text, mark] : texts) {
        add(text, mark + (name.starts_with("git_") ? name.substr(4) : name));
      }
    }
    std::string text;
    for (const auto& [shown, because] : rows) text += "  " + shown + because + "\n";
    return text;
  }

  std::vector<Case> cases_ = read_cases();
  Sandbox sandbox_;
  const fs::path world_ = sandbox_.root() / "world", base_ = sandbox_.root() / "base",
                 prepared_ = sandbox_.root() / "prepared";
  const host::SearchLists lists_ = {.system = {kLibraryFolder}, .extension = {}, .install = {}};
  host::Host host_{lists_};
  host::LogCapture log_{host_.log()};
  std::map<std::string, std::string> ids_;
  std::set<std::string> known_;
};

TEST_P(Sweep, AnswersWhateverIsMissingOrFails) {
  const bool is_writing = std::getenv("UWUGIT_WRITE_EXPECTED");
  std::string written;
  for (Case& it : cases_) {
    const std::string& call = it.lines.back();
    if (call.substr(0, call.find(' ')) == GetParam().name) {
      const std::string found = answers(it);
      EXPECT_EQ(is_writing ? "" : "\n" + found, is_writing ? "" : "\n" + it.answers) << call;
      it.answers = found;
    }
    for (const std::string& line : it.lines) written += line + "\n";
    written += it.answers;
  }
  EXPECT_FALSE(known_.empty()) << "There is no case.";
  if (is_writing) write_file(kFile, written);
}

INSTANTIATE_TEST_SUITE_P(Catalogue, Sweep, testing::ValuesIn(host::catalogue()),
                         [](const auto& function) { return std::string(function.param.name); });

}  // namespace
}  // namespace uwugit::test
