// The stash of real repositories, checked with git.
#include "support/module_test.h"

namespace uwugit::test {
namespace {

class Stash : public ModuleTest {
 protected:
  void SetUp() override {
    write_file(repo_ / "file", "base\n");
    write_file(repo_ / "other", "base\n");
    commit_all(repo_, "base");
  }

  std::string stash() { return code("stash", repo_, "Stasher", "stash@example.org"); }
  // Changes the file and stashes that.
  void stash_change(const std::string& content) {
    write_file(repo_ / "file", content);
    ASSERT_EQ(stash(), "0");
    logged();
  }
  std::string note(const char* what) { return "NOTE: " + repo_.string() + " stash " + what; }
  std::string status() { return git(repo_, {"status", "--porcelain"}); }
  std::string entries() { return git(repo_, {"stash", "list", "--format=%gd"}); }

  fs::path repo_ = sandbox_.new_repository();
};

TEST_F(Stash, PutsStagedAndUnstagedChangesAsideAndBringsThemBack) {
  write_file(repo_ / "file", "staged\n");
  write_file(repo_ / "added", "added\n");
  git(repo_, {"add", "."});
  write_file(repo_ / "other", "unstaged\n");
  write_file(repo_ / "untracked", "untracked\n");
  EXPECT_EQ(stash(), "0");
  EXPECT_EQ(logged(), note("successful.\n"));
  EXPECT_EQ(status(), "?? untracked");
  EXPECT_EQ(git(repo_, {"show", "stash@{0}:file", "stash@{0}:other", "stash@{0}:added",
                        "stash@{0}^2:file", "stash@{0}^2:other"}),
            "staged\nunstaged\nadded\nstaged\nbase");
  EXPECT_EQ(git(repo_, {"log", "-1", "--format=%an %ae %cn %ce", "stash@{0}"}),
            "Stasher stash@example.org Stasher stash@example.org");
  EXPECT_EQ(code("stash_pop", repo_), "0");
  EXPECT_EQ(logged(), note("successfully popped.\n"));
  EXPECT_EQ(status(), "A  added\n M file\n M other\n?? untracked");
  EXPECT_EQ(entries(), "");
}

TEST_F(Stash, AppliesAndDropsByPositionFromExactlyTwoArguments) {
  for (const char* content : {"oldest\n", "middle\n", "latest\n"}) stash_change(content);
  host::Arguments three;
  three.text(repo_.string()).number(1).number(1);
  const std::pair<std::function<void()>, const char*> rows[] = {
      {[&] { call("stash_apply", repo_); }, "latest\n"},
      {[&] { call("stash_apply", repo_, 1.9); }, "middle\n"},
      {[&] { host_.call(module_.find("stash_apply"), three.block()); }, "latest\n"},
  };
  for (const auto& [apply, content] : rows) {
    apply();
    EXPECT_EQ(logged(), note("successfully applied.\n"));
    EXPECT_EQ(read_file(repo_ / "file"), content);
    git(repo_, {"checkout", "--quiet", "."});
  }
  EXPECT_EQ(code("stash_drop", repo_, 1), "0");
  EXPECT_EQ(logged(), note("successfully dropped.\n"));
  EXPECT_EQ(git(repo_, {"show", "stash@{0}:file", "stash@{1}:file"}), "latest\noldest");
  EXPECT_EQ(code("stash_drop", repo_), "0");
  EXPECT_EQ(git(repo_, {"show", "stash@{0}:file"}), "oldest");
}

TEST_F(Stash, AnswersWhatIsMissing) {
  EXPECT_EQ(stash(), "-1");
  EXPECT_EQ(logged(),
            "ERROR: Return code from GIT is (19). cannot stash changes - there is nothing to "
            "stash.\n");
  EXPECT_EQ(code("stash_pop", repo_), "-3");
  EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is (4). "));
  stash_change("only\n");
  for (const double position : {1, -1}) {
    EXPECT_EQ(code("stash_apply", repo_, position), "-3");
    EXPECT_EQ(code("stash_drop", repo_, position), "-1");
  }
  EXPECT_EQ(entries(), "stash@{0}");
  write_file(repo_ / "file", "changed\n");
  EXPECT_EQ(code("stash", repo_, "", "stash@example.org"), "-1") << "a signature needs a name";
  EXPECT_EQ(status(), " M file");
}

// What a pop could not bring back is gone with the entry. Callers who may be hit apply and drop.
TEST_F(Stash, PopDropsTheEntryAlsoWhenItLeftConflictsOrPassedFilesOver) {
  stash_change("stashed\n");
  write_file(repo_ / "file", "committed\n");
  commit_all(repo_, "committed");
  EXPECT_EQ(code("stash_pop", repo_), "0");
  EXPECT_EQ(read_file(repo_ / "file"),
            "<<<<<<< Working Directory\ncommitted\n=======\nstashed\n>>>>>>> Stash\n");
  EXPECT_EQ(status(), "UU file");
  EXPECT_EQ(entries(), "");

  git(repo_, {"reset", "--quiet", "--hard"});
  stash_change("stashed\n");
  write_file(repo_ / "file", "local\n");
  EXPECT_EQ(code("stash_pop", repo_), "0");
  EXPECT_EQ(read_file(repo_ / "file"), "local\n");
  EXPECT_EQ(entries(), "");
}

TEST_F(Stash, HandsLibgit2sCodeOnAndKeepsTheEntryWhenChangesAreStaged) {
  stash_change("stashed\n");
  write_file(repo_ / "other", "staged\n");
  git(repo_, {"add", "."});
  for (const char* name : {"stash_pop", "stash_apply"}) {
    EXPECT_EQ(code(name, repo_), "-22");
    EXPECT_EQ(logged(),
              "ERROR: Return code from GIT is (19). 1 uncommitted changes exist in the index\n");
  }
  EXPECT_EQ(status(), "M  other");
  EXPECT_EQ(entries(), "stash@{0}");
}

// Programs rely on a missing function counting as success; without a signature there is no stash.
TEST_F(Stash, CountsAMissingFunctionAsSuccess) {
  stash_change("stashed\n");
  write_file(repo_ / "file", "changed\n");
  hide_function("git_signature_now");
  EXPECT_EQ(stash(), "-1");
  hide_function("git_stash_save");
  EXPECT_EQ(stash(), "0");
  for (const std::string name : {"stash_pop", "stash_apply", "stash_drop"}) {
    hide_function("git_" + name);
    EXPECT_EQ(code(name, repo_), "0");
    logged();
    hide_function("git_repository_open");
    EXPECT_EQ(code(name, repo_), "-1");
    EXPECT_EQ(logged(), "ERROR: Unable to open local repository '" + repo_.string() + "'.\n");
  }
  EXPECT_EQ(status(), " M file");
  EXPECT_EQ(entries(), "stash@{0}");
}

}  // namespace
}  // namespace uwugit::test
