// Diffs of real repositories, checked with git; and what becomes of failures and host codes that no
// repository gives at will.
#include <git2.h>

#include <array>
#include <map>
#include <sstream>

#include "support/leaks.h"
#include "support/module_test.h"
#include "uwugit/operations.h"

namespace uwugit::test {
namespace {

constexpr char kEmptyTree[] = "4b825dc642cb6eb9a060e54bf8d69288fbee4904";

// The patch that the records tell of, as git prints it.
std::string patch_of(const std::string& content) {
  const std::string between = "\"},{\"type\":\"";
  EXPECT_TRUE(content.starts_with(between.substr(3)) && content.ends_with("\"}")) << content;
  std::string patch;
  for (std::size_t at = between.size() - 3; at < content.size();) {
    const std::size_t end = std::min(content.find(between, at), content.size() - 2);
    const std::string record = content.substr(at, end - at);
    patch += record.starts_with("context") ? " " : "";
    patch += record.substr(record.find("\", \"value\":\"") + 12);
    at = end + between.size();
  }
  return patch.ends_with('\n') ? patch.substr(0, patch.size() - 1) : patch;
}

// The two commits differ in "a" and "b".
class Diff : public ModuleTest {
 protected:
  Diff() {
    git(repo_, {"config", "core.abbrev", "7"});
    write_file(repo_ / "a", "one\ntwo\n");
    first_ = commit_all(repo_, "old");
    write_file(repo_ / "a", "one\n2\n");
    write_file(repo_ / "b", "b\nb\n");
    second_ = commit_all(repo_, "new");
  }

  std::string attribute(int number, std::string_view name) {
    return output("get_diff_attribute", number, repo_, first_, second_, name);
  }
  std::string answer_of_diff() { return answer("diff_commits", repo_, first_, second_); }

  fs::path repo_ = sandbox_.new_repository();
  std::string first_, second_;
};

TEST_F(Diff, TellsWhatGitTells) {
  std::string many;
  for (int i = 0; i < 40; ++i) many += std::to_string(i) + "\n";
  // Before, after (empty: there is no such file), and the type of a record that there must be.
  const std::map<std::string, std::array<std::string, 3>> files = {
      {"binary", {std::string("\0\1", 2), std::string("\0\2", 2), "binary"}},
      {"deleted", {many, "", "deletion"}},
      {"dir/executable", {many, many, "file_header"}},
      {"gained", {"no end", "no end\n", "old_file_has_no_lf_at_end_new_does"}},
      {"hunks", {many, "first\n" + many + "last\n", "context"}},
      {"link", {"hunks\n", "hunks\n", "hunk_header"}},
      {"lost", {"one\nend\n", "one\nend", "old_file_has_lf_at_end_new_doesnt"}},
      {"neither", {"one\ntwo", "1\ntwo", "no_lf_at_end_of_both_files"}},
      {"new", {"", "\xff %s%n\n", "addition"}},
      {"new-name", {"", many, "addition"}},
      {"quotes", {"{\"a\": \"\\n\"}\n", "{\"b\": \"\\\\t\"}\n\"},{\n", "deletion"}},
  };
  const auto lay_out = [&](std::size_t side) {
    for (const auto& [name, file] : files) {
      fs::remove(repo_ / name);
      if (!file[side].empty()) write_file(repo_ / name, file[side]);
    }
  };
  lay_out(0);
  first_ = commit_all(repo_, "before");
  lay_out(1);
  fs::permissions(repo_ / "dir/executable", fs::perms::owner_all);
  fs::remove(repo_ / "link");
  fs::create_symlink("hunks", repo_ / "link");
  second_ = commit_all(repo_, "after");

  const auto compare = [&](const std::string& old_side) {
    std::istringstream names(
        git(repo_, {"diff", "--no-renames", "--name-status", old_side, second_}));
    int number = 0;
    const std::string answered = answer_of_diff();
    for (std::string line; std::getline(names, line);) {
      const std::string name = line.substr(2);
      EXPECT_EQ(attribute(++number, "FILE"), name);
      // A file that became a link is reported as deleted, then as new.
      EXPECT_EQ(attribute(number, "diff_type  ")[0], line[0] == 'T' ? 'D' : line[0]);
      const std::string content = attribute(number, "Diff_Content");
      EXPECT_EQ(patch_of(content),
                git(repo_, {"diff", "--no-renames", old_side, second_, "--", name}));
      if (old_side != first_) continue;
      EXPECT_NE(content.find("{\"type\":\"" + files.at(name)[2] + "\""), std::string::npos);
    }
    EXPECT_EQ(answered, std::to_string(number) + "$");
  };
  compare(first_);
  for (const std::string& nothing : {std::string(), first_ + "0"}) {
    first_ = nothing;
    compare(kEmptyTree);
  }
  first_ = second_;
  EXPECT_EQ(answer_of_diff(), "0$");
}

TEST_F(Diff, JoinsNamesThatDifferInBlanksAndCutsALongContent) {
  first_ = second_;
  for (const char* name : {"a", "a\x1f", "a "}) write_file(repo_ / name, "short\n");
  second_ = commit_all(repo_, "blanks");
  EXPECT_EQ(answer_of_diff(), "2$");
  EXPECT_EQ(attribute(1, "DIFF_TYPE") + attribute(2, "FILE"), "MODIFIEDa\x1f");
  EXPECT_TRUE(patch_of(attribute(1, "DIFF_CONTENT")).ends_with("+1 @@\n+short"));

  constexpr std::size_t kLongest = 4'999'999;
  std::size_t overhead = 0;
  for (const std::size_t size : {kLongest / 2, kLongest - 1, kLongest, kLongest + 1}) {
    write_file(repo_ / "b", std::string(size - overhead, 'x'));
    second_ = commit_all(repo_, "long");
    answer_of_diff();
    const std::size_t length = attribute(3, "DIFF_CONTENT").size();
    EXPECT_EQ(length, overhead == 0 ? length : std::min(size, kLongest));
    if (overhead == 0) overhead = length - size;
  }
}

TEST_F(Diff, ReportsWhatIsNoCommit) {
  const std::string blob = git(repo_, {"rev-parse", "HEAD:b"});
  for (const std::string& id : {std::string(40, 'g'), blob, second_ + "0", std::string()}) {
    const bool is_whole = id.size() == 40;  // else the old side is nothing
    const std::string answered =
        answer("diff_commits", repo_, is_whole ? id : first_, is_whole ? second_ : id);
    EXPECT_PRED2(starts_with, answered, "0 ERROR: Return code");
    EXPECT_EQ(call("get_diff_attribute", 1, repo_, first_, id, "FILE").result.returned, 1);
  }
  EXPECT_EQ(answer("diff_commits", sandbox_.root(), first_, second_), "0$");
  fs::remove(repo_ / ".git/objects" / blob.substr(0, 2) / blob.substr(2));
  EXPECT_PRED2(starts_with, answer_of_diff(), "1 ERROR: Return code from GIT is (9). object not");
  EXPECT_EQ(attribute(1, "FILE") + attribute(2, "FILE"), "a");
}

TEST_F(Diff, IsFoundByUpperCasedKeys) {
  const fs::path other = repo_.parent_path() / "REPO";
  fs::copy(repo_, other, fs::copy_options::recursive);
  EXPECT_EQ(answer_of_diff(), "2$");
  EXPECT_EQ(answer("diff_commits", other, first_, second_), "2$");
  EXPECT_EQ(host_.pools().counters().pools, 1u) << "replaced, and nothing is left behind";
  EXPECT_EQ(answer("diff_commits", repo_, "", second_), "2$");
  EXPECT_EQ(output("get_diff_attribute", 1, repo_, "", second_, "DIFF_TYPE"), "ADDED");

  std::string path = repo_.string();
  for (char& c : path) c = static_cast<char>(std::toupper(c));
  EXPECT_EQ(output("get_diff_attribute", 1, path, first_ + " ", second_, "DIFF_TYPE"), "MODIFIED");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(answer("free_diff_objects", path, first_, second_),
              "0 NOTE: Diff objects freed successfully.\n$");
  }
  EXPECT_EQ(answer("get_diff_attribute", 1, repo_, first_, second_, "FILE"),
            "unchanged ERROR: Could not find any diff objects. Run GITFN_DIFF between two commits "
            "prior to obtaining diff objects.\n$");
  EXPECT_EQ(answer("write_diff_to_file", 1, repo_, first_, second_, "/dev/null"),
            "-1 ERROR: Could not find any diff objects. Run GIT_DIFF between two commits prior to "
            "obtaining data from diff objects.\n$");
  call("free_diff_objects", repo_, "", second_);
  EXPECT_EQ(host_.pools().counters().pools, 0u);
}

TEST_F(Diff, FillsTheVariableOnlyForAFileThatThereIs) {
  EXPECT_EQ(answer_of_diff(), "2$");
  using Row = std::tuple<double, const char*, const char*>;
  for (const auto& [number, name, expected] :
       {Row{1.9, "file", "a    "}, Row{1, "FILES", "     "}, Row{3, "FILE", "\0\0\0\0\0"}}) {
    host::Arguments arguments;
    arguments.number(number).text(repo_.string()).text(first_).text(second_).text(name);
    arguments.output(5).string(5).length = 5;
    EXPECT_EQ(host_.call(module_.find("get_diff_attribute"), arguments.block()).returned, 0);
    EXPECT_EQ(arguments.output_text(5), std::string(expected, 5)) << number << name;
  }
}

TEST_F(Diff, OfOneFileComparesHeadWithIndexOrWorkingTree) {
  const fs::path out = sandbox_.root() / "out";
  for (const char* name : {"a", "new"}) write_file(repo_ / name, "index\n");
  git(repo_, {"add", "--all"});
  write_file(repo_ / "a", std::string(2000, 'w') + "\n");
  write_file(repo_ / "untracked", "x\n");
  EXPECT_EQ(patch_of(output("diff_file_in_index", repo_, "a")), git(repo_, {"diff", "HEAD", "a"}));
  for (const char* name : {"a", "new"}) {
    const std::string records =
        output("diff_file_in_index", repo_, name + std::string(" "), 1, out);
    EXPECT_EQ(patch_of(records), git(repo_, {"diff", "--cached", "--", name}));
    EXPECT_EQ(read_file(out), records);
  }
  for (const std::string name : {"untracked", ""}) {
    EXPECT_EQ(answer("diff_file_in_index", repo_, name, 1),
              "-1 ERROR: Unable to diff file \"" + name +
                  "\" because it's not currently in the index or it's a new file.\n$");
  }
  EXPECT_EQ(answer("diff_file_in_index", repo_, "a", 0, sandbox_.root() / "no" / "folder"),
            "-1 ERROR: External file: No such file or directory (code -2).\n$");
  EXPECT_EQ(output("get_diff_attribute", 1, repo_, "INDEX", "WORKDIR", "FILE"), "a");
  EXPECT_EQ(answer("diff_file_in_index", repo_, "a"), "0$");
  EXPECT_EQ(host_.pools().counters().pools, 0u) << "the next call replaced and freed it";
}

// A file whose steps answer the given codes.
int file_codes[3];
std::string seen;
int write(HostFile*, const char* data, std::size_t length) {
  seen = std::string(data, length);
  return file_codes[1];
}
int open(const char*, const FileAttributes*, HostFile** file) {
  static HostFile faulty_file;
  faulty_file.write = write;
  *file = &faulty_file;
  return file_codes[0];
}
int close(HostFile*) {
  seen += "|closed";
  return file_codes[2];
}

TEST_F(Diff, HeedsTheCodesOfTheFileService) {
  EXPECT_EQ(answer_of_diff(), "2$");
  const auto provide = [&](OperationNumber number, auto* operation) {
    const auto* slot = &host_.control_block()->vectors[number.vector][number.slot];
    *const_cast<HostOperation*>(slot) = reinterpret_cast<HostOperation>(operation);
  };
  provide(operation_number::xxropen, open);
  provide(operation_number::xxclose, close);
  const std::string written = attribute(2, "DIFF_CONTENT") + "|closed";
  const std::string failed = " ERROR: External file: Input/output error (code ";
  const std::pair<int, std::string> rows[] = {
      {0x40000801, "0$"}, {5, "0" + failed + "5).\n$"}, {-5, "-1" + failed + "-5).\n$"}};
  for (int step = 0; step < 3; ++step) {
    for (const auto& [given, expected] : rows) {
      std::fill_n(file_codes, 3, 0);
      file_codes[step] = given;
      seen.clear();
      EXPECT_EQ(answer("write_diff_to_file", 2, repo_, first_, second_, "/x"), expected);
      EXPECT_EQ(seen, given < 0 && step == 0 ? "" : written) << "a failed write still closes";
    }
  }
}

// Libgit2 functions that the two diffs look up: missing, then failing.
TEST_F(Diff, ToleratesAnyFunctionThatIsMissingOrFails) {
  write_file(repo_ / "a", "changed\n");
  const std::string rows[][3] = {{"git_libgit2_init", "0$", "-1$"},
                                 {"git_commit_tree", "0 ERROR: ", "-1 ERROR: "},
                                 {"git_diff_print", "0 ERROR: ", "-1 ERROR: "},
                                 {"git_diff_tree_to_workdir", "2$", "-1 ERROR: "},
                                 {"git_diff_free", "2$", "0$"}};
  for (const auto& [function, commits, file] : rows) {
    const LeaksOnPurpose leaks;
    for (void* const replacement : {static_cast<void*>(nullptr), kFails}) {
      replace_function(function, replacement);
      EXPECT_PRED2(starts_with, answer_of_diff(), commits) << function;
      EXPECT_PRED2(starts_with, answer("diff_file_in_index", repo_, "a"), file) << function;
    }
  }
}

}  // namespace
}  // namespace uwugit::test
