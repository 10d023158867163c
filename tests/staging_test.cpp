// What is staged and unstaged, as git sees it.
#include "support/module_test.h"

namespace uwugit::test {
namespace {

class Staging : public ModuleTest {
 protected:
  fs::path repo_ = sandbox_.new_repository();

  std::string staged() { return git(repo_, {"diff", "--cached", "--name-status"}); }
  std::string status() { return git(repo_, {"status", "--porcelain"}); }
  void commit_and_change(std::initializer_list<const char*> files) {
    for (const char* file : files) write_file(repo_ / file, "committed\n");
    commit_all(repo_, "base");
    for (const char* file : files) write_file(repo_ / file, "changed\n");
  }
};

TEST_F(Staging, StagesContentAndRemovalsAsTheLastFileAllows) {
  commit_and_change({"a.txt", "b.txt", "c.txt", "d.txt"});
  write_file(repo_ / "folder/[1]*", "new\n");
  EXPECT_EQ(answer("add_files_to_index", repo_, "a.txt", "NEW", "b.txt", "deleted", "c.txt",
                   "Deleted  ", "folder/[1]*", ""),
            "0$");
  EXPECT_EQ(staged(), "M\ta.txt\nD\tb.txt\nD\tc.txt\nA\tfolder/[1]*");
  EXPECT_EQ(git(repo_, {"show", ":a.txt"}), "changed");
  EXPECT_EQ(read_file(repo_ / "b.txt"), "changed\n");
  EXPECT_EQ(answer("add_files_to_index", repo_, "b.txt", "new", "d.txt"), "0$") << "no last status";
  EXPECT_EQ(staged(), "M\ta.txt\nM\tb.txt\nD\tc.txt\nM\td.txt\nA\tfolder/[1]*");

  git(repo_, {"reset", "--quiet"});
  EXPECT_PRED2(starts_with, answer("add_files_to_index", repo_, "a.txt", "", "nothing", ""),
               "-1 ERROR: Return code from GIT is (2). ");
  EXPECT_EQ(staged(), "") << "the last file decides";
  EXPECT_EQ(answer("add_files_to_index", repo_, "nothing", "", "a.txt", ""), "0$");
  EXPECT_EQ(staged(), "M\ta.txt");
}

TEST_F(Staging, UnstagesWhatHeadHasOrHasNot) {
  for (const char* file : {"a", "b", "folder/f", "x1", "x2"}) write_file(repo_ / file, "one\n");
  git(repo_, {"add", "--all", "--", ":!b"});
  EXPECT_EQ(answer("remove_files_from_index", repo_, "a", "b", "folder/f"), "0$");
  EXPECT_EQ(status(), "A  x1\nA  x2\n?? a\n?? b\n?? folder/") << "before the first commit";

  commit_and_change({"a", "b", "folder/f", "x1", "x2"});
  fs::remove(repo_ / "b");
  write_file(repo_ / "new", "new\n");
  git(repo_, {"add", "--all"});
  write_file(repo_ / "a", "changed again\n");
  EXPECT_EQ(answer("remove_files_from_index", repo_, "a", "b", "new", "nothing"), "0$");
  EXPECT_EQ(status(), " M a\n D b\nM  folder/f\nM  x1\nM  x2\n?? new");
  EXPECT_EQ(read_file(repo_ / "a"), "changed again\n");
  EXPECT_EQ(answer("remove_files_from_index", repo_), "0$") << "nothing to do";
  EXPECT_EQ(answer("remove_files_from_index", repo_, "x?"), "0$") << "a pattern";
  EXPECT_EQ(staged(), "M\tfolder/f");
}

TEST_F(Staging, LeavesTheIndexWhenItIsLocked) {
  commit_and_change({"a", "b"});
  git(repo_, {"add", "b"});
  write_file(repo_ / ".git/index.lock", "");
  const char* locked = "-1 ERROR: Return code from GIT is (10). the index is locked";
  EXPECT_PRED2(starts_with, answer("add_files_to_index", repo_, "a"), locked);
  EXPECT_PRED2(starts_with, answer("remove_files_from_index", repo_, "b"), locked);
  EXPECT_EQ(staged(), "M\tb");
  EXPECT_EQ(answer("add_files_to_index", "/nowhere"),
            "-1 ERROR: Unable to open local repository '/nowhere'.\n$");
  EXPECT_PRED2(starts_with, answer("add_files_to_index", repo_), "-1 ERROR: No detailed");
}

// Each libgit2 function that the two look up: missing, then failing.
TEST_F(Staging, ToleratesAnyMissingOrFailingFunction) {
  commit_and_change({"a"});
  const fs::path unborn = sandbox_.new_repository("unborn");
  write_file(unborn / "a", "a");
  const struct {
    const char* operation;
    const fs::path& repo;
    const char* function;
    std::string missing, failing;
  } rows[] = {
      {"add_files_to_index", repo_, "git_libgit2_init", "-1$", "-1$"},
      {"add_files_to_index", repo_, "git_repository_open", "-1 ERROR: Unable", "-1 ERROR: Unable"},
      {"add_files_to_index", repo_, "git_repository_index", "-1$", "-1 ERROR: No"},
      {"add_files_to_index", repo_, "git_index_add_bypath", "-1$", "-1 ERROR: No"},
      {"add_files_to_index", repo_, "git_index_remove_bypath", "-1$", "0$"},
      {"add_files_to_index", repo_, "git_index_write", "0$", "-1 ERROR: "},
      {"remove_files_from_index", repo_, "git_repository_open", "-1 ERROR: Unable",
       "-1 ERROR: Unable"},
      {"remove_files_from_index", repo_, "git_repository_head", "-1 ERROR: No", "0$"},
      {"remove_files_from_index", repo_, "git_reference_peel", "-1 ERROR: No", "-1 ERROR: No"},
      {"remove_files_from_index", repo_, "git_reset_default", "0$", "-1 ERROR: No"},
      {"remove_files_from_index", unborn, "git_repository_index", "-1 ERROR: ", "-1 ERROR: "},
      {"remove_files_from_index", unborn, "git_index_remove_bypath", "0$", "-1 ERROR: "},
      {"remove_files_from_index", unborn, "git_index_write", "0$", "-1 ERROR: "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.operation) + " " + row.function);
    hide_function(row.function);
    EXPECT_PRED2(starts_with, answer(row.operation, row.repo, "a"), row.missing);
    replace_function(row.function, kFails);
    EXPECT_PRED2(starts_with, answer(row.operation, row.repo, "a"), row.failing);
  }
}

}  // namespace
}  // namespace uwugit::test
