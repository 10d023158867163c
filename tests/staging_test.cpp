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
  EXPECT_EQ(read_file(repo_ / "b.txt"), "changed\n");
  EXPECT_EQ(answer("add_files_to_index", repo_, "b.txt", "new", "d.txt"), "0$") << "no last status";
  EXPECT_EQ(staged(), "M\ta.txt\nM\tb.txt\nD\tc.txt\nM\td.txt\nA\tfolder/[1]*");

  EXPECT_PRED2(starts_with, answer("add_files_to_index", repo_, "a.txt", "", "nothing", ""),
               "-1 ERROR: Return code from GIT is (2). ")
      << "the last file decides";
  EXPECT_EQ(answer("add_files_to_index", repo_, "nothing", "", "a.txt", ""), "0$");
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
}

// libgit2 functions that the two look up: missing, then failing.
TEST_F(Staging, ToleratesAnyMissingOrFailingFunction) {
  commit_and_change({"a"});
  const std::string rows[][4] = {
      {"add", "git_libgit2_init", "-1$", "-1$"},
      {"add", "git_repository_open", "-1 ERROR: Unable", "-1 ERROR: Unable"},
      {"add", "git_index_add_bypath", "-1$", "-1 ERROR: No"},
      {"add", "git_index_remove_bypath", "-1$", "0$"},
      {"add", "git_index_write", "0$", "-1 ERROR: "},
      {"remove", "git_repository_head", "-1 ERROR: No", "0$"},
      {"remove", "git_reset_default", "0$", "-1 ERROR: No"},
  };
  for (const auto& [verb, function, missing, failing] : rows) {
    SCOPED_TRACE(function);
    const std::string operation = verb + (verb == "add" ? "_files_to_index" : "_files_from_index");
    hide_function(function);
    EXPECT_PRED2(starts_with, answer(operation, repo_, "a"), missing);
    replace_function(function, kFails);
    EXPECT_PRED2(starts_with, answer(operation, repo_, "a"), failing);
  }
}

}  // namespace
}  // namespace uwugit::test
