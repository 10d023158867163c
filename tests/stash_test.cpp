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

  std::string stash(const std::string& name = "Stasher") {
    return answer("stash", repo_, name, "stash@example.org");
  }
  // Changes the file and stashes that.
  void stash_change(const std::string& content) {
    write_file(repo_ / "file", content);
    EXPECT_EQ(stash(), done("successful"));
  }
  std::string done(const std::string& what) {
    return "0 NOTE: " + repo_.string() + " stash " + what + ".\n$";
  }
  std::string status() { return git(repo_, {"status", "--porcelain"}); }
  std::string entries() { return git(repo_, {"stash", "list", "--format=%gd"}); }

  fs::path repo_ = sandbox_.new_repository();
};

TEST_F(Stash, PutsStagedAndUnstagedChangesAsideAndBringsThemBack) {
  write_file(repo_ / "added", "added\n");
  git(repo_, {"add", "."});
  write_file(repo_ / "other", "unstaged\n");
  write_file(repo_ / "untracked", "untracked\n");
  EXPECT_EQ(stash(), done("successful"));
  EXPECT_EQ(status(), "?? untracked");
  EXPECT_EQ(git(repo_, {"show", "stash@{0}:other", "stash@{0}:added", "stash@{0}^2:other"}),
            "unstaged\nadded\nbase");
  EXPECT_EQ(git(repo_, {"log", "-1", "--format=%an %ae %cn %ce", "stash@{0}"}),
            "Stasher stash@example.org Stasher stash@example.org");
  EXPECT_EQ(answer("stash_pop", repo_), done("successfully popped"));
  EXPECT_EQ(status(), "A  added\n M other\n?? untracked");
  EXPECT_EQ(entries(), "");
}

TEST_F(Stash, AppliesAndDropsByPositionFromExactlyTwoArguments) {
  for (const char* content : {"oldest\n", "middle\n", "latest\n"}) stash_change(content);
  EXPECT_EQ(answer("stash_apply", repo_, 1.9), done("successfully applied"));
  EXPECT_EQ(read_file(repo_ / "file"), "middle\n");
  git(repo_, {"checkout", "--quiet", "."});
  host::Arguments three;
  three.text(repo_.string()).number(1).number(1);
  host_.call(module_.find("stash_apply"), three.block());
  EXPECT_EQ(read_file(repo_ / "file"), "latest\n");
  EXPECT_EQ(answer("stash_drop", repo_, 1), done("successfully dropped"));
  EXPECT_EQ(git(repo_, {"show", "stash@{0}:file", "stash@{1}:file"}), "latest\noldest");
  EXPECT_EQ(code("stash_drop", repo_), "0");
  EXPECT_EQ(git(repo_, {"show", "stash@{0}:file"}), "oldest");
}

// What a pop could not bring back is gone with the entry. Callers who may be hit apply and drop.
TEST_F(Stash, PopDropsTheEntryAlsoWhenItLeftConflictsOrPassedFilesOver) {
  stash_change("stashed\n");
  stash_change("newer\n");
  write_file(repo_ / "file", "local\n");
  EXPECT_EQ(code("stash_pop", repo_), "0");
  EXPECT_EQ(read_file(repo_ / "file"), "local\n");
  EXPECT_EQ(entries(), "stash@{0}");
  commit_all(repo_, "committed");
  EXPECT_EQ(code("stash_pop", repo_), "0");
  EXPECT_EQ(read_file(repo_ / "file"),
            "<<<<<<< Working Directory\nlocal\n=======\nstashed\n>>>>>>> Stash\n");
  EXPECT_EQ(status(), "UU file");
  EXPECT_EQ(entries(), "");
}

// Programs rely on a missing function counting as success; without a signature there is no stash.
TEST_F(Stash, KeepsTheEntryAndTheChangesWhenItFails) {
  const std::string error = " ERROR: Return code from GIT is (";
  EXPECT_EQ(stash(), "-1" + error + "19). cannot stash changes - there is nothing to stash.\n$");
  EXPECT_PRED2(starts_with, answer("stash_pop", repo_), "-3" + error + "4). ");
  stash_change("only\n");
  for (const double position : {1, -1}) {
    EXPECT_EQ(code("stash_apply", repo_, position), "-3");
    EXPECT_EQ(code("stash_drop", repo_, position), "-1");
  }
  write_file(repo_ / "other", "changed\n");
  EXPECT_PRED2(starts_with, stash(""), "-1" + error) << "a signature needs a name";
  hide_function("git_signature_now");
  EXPECT_PRED2(starts_with, stash(), "-1 ");
  hide_function("git_stash_save");
  EXPECT_PRED2(starts_with, stash(), "0 ");
  git(repo_, {"add", "."});
  for (const std::string name : {"stash_drop", "stash_pop", "stash_apply"}) {
    hide_function("git_" + name);
    EXPECT_EQ(code(name, repo_), "0");
    hide_function("git_repository_open");
    EXPECT_EQ(answer(name, repo_),
              "-1 ERROR: Unable to open local repository '" + repo_.string() + "'.\n$");
    hide_function("");
    if (name == "stash_drop") continue;
    EXPECT_EQ(answer(name, repo_),
              "-22" + error + "19). 1 uncommitted changes exist in the index\n$");
  }
  EXPECT_EQ(status(), "M  other");
  EXPECT_EQ(entries(), "stash@{0}");
}

}  // namespace
}  // namespace uwugit::test
