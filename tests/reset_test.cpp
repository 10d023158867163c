// Resets of branches and files, as git sees them.
#include "support/module_test.h"

namespace uwugit::test {
namespace {

class Reset : public ModuleTest {
 protected:
  void SetUp() override {
    for (const char* file : {"a", "b"}) write_file(repo_ / file, "one\n");
    first_ = commit_all(repo_, "one");
    write_file(repo_ / "a", "two\n");
    second_ = commit_all(repo_, "two");
  }

  std::string head() { return git(repo_, {"rev-parse", "HEAD"}); }
  std::string status() { return git(repo_, {"status", "--porcelain"}); }

  fs::path repo_ = sandbox_.new_repository();
  std::string first_, second_;
};

TEST_F(Reset, MovesTheBranchInEachMode) {
  const std::string rows[][3] = {{"soft", "SOFT", "M  a\n M b\n?? c"},
                                 {"Mixed", "MIXED", " M a\n M b\n?? c"},
                                 {"HARD  ", "HARD  ", "?? c"}};
  for (const auto& [mode, shown, expected] : rows) {
    git(repo_, {"reset", "--quiet", "--hard", second_});
    for (const char* file : {"b", "c"}) write_file(repo_ / file, "changed\n");
    EXPECT_EQ(answer("reset_to_commit", repo_, first_, mode),
              "0 NOTE: " + shown + " reset to commit:" + first_ + " successful.\n$");
    EXPECT_EQ(git(repo_, {"rev-parse", "main"}), first_);
    EXPECT_EQ(status(), expected) << mode;
  }
}

TEST_F(Reset, RefusesWhatIsNoCommitOrMode) {
  write_file(repo_ / "b", "changed\n");
  const std::string git_error = "-1 ERROR: Return code from GIT is ";
  const std::string rows[][3] = {
      {first_.substr(0, 12), "HARD", git_error + "(9). object not found"},
      {git(repo_, {"rev-parse", "HEAD^{tree}"}), "HARD", git_error + "(3). the requested type"},
      {first_, " hard",
       "-1 ERROR:  HARD is an invalid mode. SOFT, MIXED or HARD are valid modes.\n$"}};
  for (const auto& [id, mode, expected] : rows) {
    EXPECT_PRED2(starts_with, answer("reset_to_commit", repo_, id, mode), expected);
  }
  write_file(repo_ / ".git/refs/heads/main.lock", "");
  EXPECT_PRED2(starts_with, answer("reset_to_commit", repo_, first_, "SOFT"),
               git_error + "(2). failed to lock file");
  EXPECT_EQ(head(), second_);
  EXPECT_EQ(status(), " M b");
}

TEST_F(Reset, OfAFileTouchesNoOther) {
  for (const char* file : {"a", "b", "x1", "x2", "staged", "untracked"}) {
    write_file(repo_ / file, "changed\n");
  }
  git(repo_, {"add", "a", "staged"});
  EXPECT_EQ(answer("reset_file_in_index", repo_, "a"), "0 NOTE: a reset successfully.\n$");
  EXPECT_EQ(read_file(repo_ / "a"), "two\n");
  EXPECT_EQ(status(), " M b\nA  staged\n?? untracked\n?? x1\n?? x2");
  for (const char* file : {"staged", "x[12]", "nothing"}) {  // also a pattern
    EXPECT_EQ(code("reset_file_in_index", repo_, file), "0");
  }
  EXPECT_EQ(answer("reset_file_in_index", repo_, ""), "-1 ERROR: A file path is required.\n$");
  EXPECT_EQ(status(), " M b\n?? untracked");
}

// libgit2's reset fails without an error to show: the state of the merge is cleared instead.
TEST_F(Reset, FallsBackOnClearingTheState) {
  write_file(repo_ / ".git/MERGE_HEAD", first_ + "\n");
  bool can_clear = false;
  host_.modules().set_lookup_hook([&](std::string_view name, void* found) {
    if (name == "git_repository_state_cleanup" && !can_clear) return kFails;
    return name == "git_reset" ? kFails : found;
  });
  EXPECT_PRED2(starts_with, answer("reset_to_commit", repo_, first_, "HARD"), "-1 ERROR: No");
  can_clear = true;
  EXPECT_PRED2(starts_with, answer("reset_to_commit", repo_, first_, "HARD"), "0 NOTE: HARD reset");
  EXPECT_FALSE(fs::exists(repo_ / ".git/MERGE_HEAD"));
  EXPECT_EQ(head(), second_);
}

TEST_F(Reset, ToleratesAnyMissingFunction) {
  const std::string rows[][3] = {{"git_libgit2_init", "unchanged$", "unchanged$"},
                                 {"git_commit_lookup", "-1 ERROR: No", "0 NOTE: "},
                                 {"git_reset", "0 NOTE: ", "0 NOTE: "},
                                 {"git_checkout_head", "0 NOTE: ", "0 NOTE: "}};
  for (const auto& [function, commit, file] : rows) {
    hide_function(function);
    EXPECT_PRED2(starts_with, answer("reset_to_commit", repo_, second_, "SOFT"), commit);
    EXPECT_PRED2(starts_with, answer("reset_file_in_index", repo_, "a"), file);
  }
  replace_function("git_checkout_head", kFails);
  EXPECT_PRED2(starts_with, answer("reset_file_in_index", repo_, "a"), "-1 ERROR: No");
}

}  // namespace
}  // namespace uwugit::test
