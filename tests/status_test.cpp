// The status of real repositories, checked with git.
#include <cmath>
#include <map>
#include <set>
#include <sstream>

#include "process.h"
#include "support/leaks.h"
#include "support/module_test.h"

struct git_repository;

namespace uwugit::test {
namespace {

class Status : public ModuleTest {
 protected:
  fs::path repo_ = sandbox_.new_repository();

  std::string attribute(int number, std::string_view name) {
    return output("get_status_attribute", number, repo_, name);
  }

  // All entries as "path status STAGED", in order.
  std::string entries(int count) {
    std::string text;
    for (int i = 1; i <= count; ++i) {
      text +=
          attribute(i, "PATH") + " " + attribute(i, "STATUS") + " " + attribute(i, "STAGED") + "\n";
    }
    return text;
  }
};

// Every kind of change that a working tree can show; the notes and entries are the module's
// contract.
TEST_F(Status, ReportsEveryKindOfChange) {
  for (const char* name : {"mod", "staged-mod", "both-mod", "gone", "staged-gone", "mod-gone",
                           "type", "staged-type", "kept"}) {
    write_file(repo_ / name, std::string("first content of ") + name + "\n");
  }
  write_file(repo_ / "old-name", "a text that is long enough to be found again by its content\n");
  write_file(repo_ / ".gitignore", "ignored\n");
  commit_all(repo_, "base");
  git(repo_, {"switch", "--quiet", "--create", "topic"});
  write_file(repo_ / "kept", "theirs\n");
  commit_all(repo_, "theirs");
  git(repo_, {"switch", "--quiet", "main"});
  write_file(repo_ / "kept", "ours\n");
  commit_all(repo_, "ours");
  runner::run({"git", "-C", repo_.string(), "merge", "topic"});  // stops at the conflict

  write_file(repo_ / "mod", "changed\n");
  write_file(repo_ / "staged-mod", "changed\n");
  write_file(repo_ / "both-mod", "changed\n");
  write_file(repo_ / "mod-gone", "changed\n");
  write_file(repo_ / "new-staged", "new\n");
  write_file(repo_ / "new-both", "new\n");
  write_file(repo_ / "new-gone", "new\n");
  write_file(repo_ / "ignored", "ignored\n");
  fs::remove(repo_ / "staged-type");
  fs::create_symlink("kept", repo_ / "staged-type");
  git(repo_, {"add", "staged-mod", "both-mod", "mod-gone", "new-staged", "new-both", "new-gone",
              "staged-type"});
  git(repo_, {"rm", "--quiet", "staged-gone"});
  write_file(repo_ / "both-mod", "changed again\n");
  write_file(repo_ / "new-both", "changed again\n");
  for (const char* name : {"gone", "mod-gone", "new-gone", "type"}) fs::remove(repo_ / name);
  fs::create_symlink("kept", repo_ / "type");
  write_file(repo_ / "untracked/deep/file", "new\n");

  EXPECT_EQ(code("get_status", repo_), "17");
  EXPECT_EQ(logged(),
            "NOTE: Entry: both-mod. Staged: False. Status: Modified.\n"
            "NOTE: Entry: both-mod. Staged: True. Status: Modified.\n"
            "NOTE: Entry: gone. Staged: False. Status: Deleted.\n"
            "NOTE: Entry: kept. Staged: False. Status: Conflicted.\n"
            "NOTE: Entry: mod. Staged: False. Status: Modified.\n"
            "NOTE: Entry: mod-gone. Staged: False. Status: Modified.\n"
            "NOTE: Entry: mod-gone. Staged: False. Status: Deleted.\n"
            "NOTE: Entry: new-both. Staged: False. Status: Modified.\n"
            "NOTE: Entry: new-both. Staged: True. Status: New.\n"
            "NOTE: Entry: new-gone. Staged: False. Status: Deleted.\n"
            "NOTE: Entry: new-gone. Staged: True. Status: New.\n"
            "NOTE: Entry: new-staged. Staged: True. Status: New.\n"
            "NOTE: Entry: staged-gone. Staged: True. Status: Deleted.\n"
            "NOTE: Entry: staged-mod. Staged: True. Status: Modified.\n"
            "NOTE: Entry: staged-type. Staged: True. Status: Typechange.\n"
            "NOTE: Entry: type. Staged: False. Status: Typechange.\n"
            "NOTE: Entry: untracked/deep/file. Staged: False. Status: New.\n");
  EXPECT_EQ(entries(17),
            "both-mod modified TRUE\n"
            "both-mod modified FALSE\n"
            "gone deleted FALSE\n"
            "kept conflicted FALSE\n"
            "mod modified FALSE\n"
            "mod-gone modified TRUE\n"
            "mod-gone deleted FALSE\n"
            "new-both modified FALSE\n"
            "new-both new TRUE\n"
            "new-gone deleted FALSE\n"
            "new-gone new TRUE\n"
            "new-staged new TRUE\n"
            "staged-gone deleted TRUE\n"
            "staged-mod modified TRUE\n"
            "staged-type typechange TRUE\n"
            "type typechange FALSE\n"
            "untracked/deep/file new FALSE\n");

  std::set<std::string> ours;
  for (int i = 1; i <= 17; ++i) ours.insert(attribute(i, "PATH"));
  std::set<std::string> theirs;
  std::istringstream porcelain(git(repo_, {"status", "--porcelain", "--untracked-files=all"}));
  for (std::string line; std::getline(porcelain, line);) theirs.insert(line.substr(3));
  EXPECT_EQ(ours, theirs);
}

// What the flags mean is a table of whole values: the walk is replaced by one that reports each
// value that sixteen bits can have, and a null path.
int walk_all_flags(git_repository*, int (*callback)(const char*, unsigned, void*), void* payload) {
  if (callback(nullptr, 1, payload) != 0) return -1;
  for (unsigned flags = 0; flags <= 0xFFFF; ++flags) {
    if (callback(std::to_string(flags).c_str(), flags, payload) != 0) return -1;
  }
  return 0;
}

TEST_F(Status, PassesOverEveryOtherValueOfTheFlags) {
  replace_function("git_status_foreach", reinterpret_cast<void*>(walk_all_flags));
  EXPECT_EQ(code("get_status", repo_), "19");
  std::map<std::string, int> counts;
  for (int i = 1; i <= 19; ++i) ++counts[attribute(i, "PATH")];
  const std::map<std::string, int> expected = {{"1", 1},    {"2", 1},    {"4", 1},    {"8", 1},
                                               {"16", 1},   {"128", 1},  {"256", 1},  {"257", 2},
                                               {"258", 2},  {"512", 1},  {"513", 2},  {"514", 2},
                                               {"1024", 1}, {"2048", 1}, {"32768", 1}};
  EXPECT_EQ(counts, expected);
  EXPECT_NE(logged().find("NOTE: Entry: 2048. Staged: False. Status: Renamed.\n"),
            std::string::npos);
}

TEST_F(Status, ReadsAttributesByAnySpellingOfTheirName) {
  write_file(repo_ / "file", "x");
  call("get_status", repo_);
  EXPECT_EQ(attribute(1, "path"), "file");
  EXPECT_EQ(attribute(1, "Status   "), "new");
  EXPECT_EQ(code("get_status_attribute", 1, repo_, "PATHS"), "1");
  EXPECT_EQ(code("get_status_attribute", 1, repo_, ""), "1");
  EXPECT_EQ(code("get_status_attribute", 1.99, repo_, "PATH"), "0");
  for (const double number : {0.0, -1.0, 2.0, 0.99, 1e300, -1e300, std::nan("")}) {
    EXPECT_EQ(code("get_status_attribute", number, repo_, "PATH"), "2") << number;
  }
}

// The variable as the module leaves it, with capacities that hold the value, just hold it, cut it.
TEST_F(Status, FillsTheWholeVariable) {
  write_file(repo_ / "file", "x");
  call("get_status", repo_);
  const struct {
    std::size_t capacity;
    const char* name;
    const char* expected;
  } rows[] = {{8, "PATH", "file    "}, {4, "PATH", "file"},      {2, "PATH", "fi"},
              {0, "PATH", ""},         {7, "STAGED", "FALSE  "}, {6, "NONE", "      "}};
  for (const auto& row : rows) {
    host::Arguments arguments;
    arguments.number(1).text(repo_.string()).text(row.name).output(row.capacity);
    host_.call(module_.find("get_status_attribute"), arguments.block());
    EXPECT_EQ(arguments.output_text(3), row.expected) << row.capacity << " " << row.name;
  }
}

TEST_F(Status, KeepsTheEntriesOfEachRepositoryUntilTheyAreFreedOrReplaced) {
  const fs::path other = sandbox_.new_repository("other");
  EXPECT_EQ(code("get_status", repo_), "0");
  EXPECT_EQ(code("get_status_attribute", 1, repo_, "PATH"), "2") << "an empty object";
  write_file(repo_ / "one", "x");
  write_file(other / "two", "x");
  call("get_status", repo_);
  call("get_status", other);
  EXPECT_EQ(attribute(1, "PATH"), "one");
  EXPECT_EQ(output("get_status_attribute", 1, other, "PATH"), "two");
  EXPECT_EQ(output("get_status_attribute", 1, other.string() + "  ", "PATH"), "two");
  write_file(repo_ / "more", "x");
  EXPECT_EQ(code("get_status", repo_), "2");
  EXPECT_EQ(attribute(1, "PATH"), "more");
  logged();

  EXPECT_EQ(code("free_status_objects", repo_), "0");
  EXPECT_EQ(code("free_status_objects", repo_), "1");
  EXPECT_EQ(logged(), "");
  EXPECT_EQ(code("get_status_attribute", 1, repo_, "PATH"), "-2");
  EXPECT_EQ(
      logged(),
      "ERROR: Could not find any status objects. Run GITFN_STATUS on your repo prior to obtaining "
      "repo status objects.\n");
  EXPECT_EQ(output("get_status_attribute", 1, other, "PATH"), "two");
  EXPECT_EQ(code("free_status_objects", other), "0");
  EXPECT_EQ(host_.pools().counters().pools, 0u);
}

TEST_F(Status, ReportsWhatLibgit2CannotOpen) {
  const struct {
    std::string path;
    const char* message;
  } rows[] = {
      {(sandbox_.root() / "nothing").string(), "ERROR: Return code from GIT is (2). "},
      {"", "ERROR: Return code from GIT is (2). "},
      {std::string(64 << 10, 'x'), "ERROR: Return code from GIT is ("},
      {"%n%s%z\n\"quoted\"", "ERROR: Return code from GIT is (2). "},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(code("get_status", row.path), "-2") << row.path.substr(0, 80);
    EXPECT_TRUE(logged().starts_with(row.message));
  }
  EXPECT_EQ(host_.pools().counters().pools, 0u);
}

TEST_F(Status, TakesFileNamesOfAnyBytes) {
  const std::string names[] = {"%n%s%1z", "\"quoted\" 'name'", "line\nbreak", "\xff\xfe not UTF-8",
                               " "};
  for (const std::string& name : names) write_file(repo_ / name, "x");
  EXPECT_EQ(code("get_status", repo_), "5");
  std::set<std::string> found;
  for (int i = 1; i <= 5; ++i) found.insert(attribute(i, "PATH"));
  EXPECT_EQ(found, std::set<std::string>(std::begin(names), std::end(names)));
  EXPECT_NE(logged().find("NOTE: Entry: %n%s%1z. Staged: False. Status: New.\n"),
            std::string::npos);

  const std::string deep = std::string(200, 'd') + "/" + std::string(200, 'e') + "/" +
                           std::string(200, 'f') + "/" + std::string(200, 'g') + "/" +
                           std::string(200, 'h') + "/" + std::string(200, 'i');
  write_file(repo_ / deep, "x");
  call("get_status", repo_);
  found.clear();
  for (int i = 1; i <= 6; ++i) found.insert(attribute(i, "PATH"));
  EXPECT_TRUE(found.contains(deep)) << "a value longer than the first guess at its room";
}

// Each libgit2 function that get_status looks up: what happens when the library lacks it, or when
// it fails.
TEST_F(Status, ToleratesAnyMissingOrFailingFunction) {
  write_file(repo_ / "file", "x");
  const struct {
    const char* function;
    const char* code;
    const char* log;
  } rows[] = {
      {"git_libgit2_version", "1", "NOTE: Entry: file. Staged: False. Status: New.\n"},
      {"git_libgit2_features", "1", "NOTE: Entry: file. Staged: False. Status: New.\n"},
      {"git_libgit2_init", "-1", ""},
      {"git_repository_open", "-2", "ERROR: No detailed error info available.\n"},
      {"git_status_list_new", "-1", ""},
      {"git_status_foreach", "0", ""},
      {"git_status_list_free", "1", "NOTE: Entry: file. Staged: False. Status: New.\n"},
      {"git_repository_free", "1", "NOTE: Entry: file. Staged: False. Status: New.\n"},
      {"git_libgit2_shutdown", "1", "NOTE: Entry: file. Staged: False. Status: New.\n"},
  };
  for (const auto& row : rows) {
    hide_function(row.function);
    const LeaksOnPurpose leaks;
    EXPECT_EQ(code("get_status", repo_), row.code) << row.function;
    EXPECT_EQ(logged(), row.log) << row.function;
  }
  for (const char* function : {"git_status_list_new", "git_status_foreach"}) {
    replace_function(function, reinterpret_cast<void*>(+[](void*, void*, void*) { return -1; }));
    EXPECT_EQ(code("get_status", repo_), "-2") << function;
    EXPECT_TRUE(logged().starts_with("ERROR: ")) << function;
  }
  hide_function("git_error_last");
  EXPECT_EQ(code("get_status", sandbox_.root() / "nothing"), "-2");
  EXPECT_EQ(logged(), "");
}

}  // namespace
}  // namespace uwugit::test
