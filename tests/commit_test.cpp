// Commits, as git sees them.
#include "support/module_test.h"

namespace uwugit::test {
namespace {

class Commit : public ModuleTest {
 protected:
  fs::path repo_ = sandbox_.new_repository();

  std::string show(const char* format, const std::string& revision = "HEAD") {
    return git(repo_, {"log", "-1", std::string("--format=") + format, revision});
  }
  template <class... More>
  std::string commit(const std::string& reference, const More&... more) {
    return answer("do_commit", repo_, reference, "Me \xc3\xa9", "me@example.org",
                  "A message\n\n%s\n", more...);
  }
};

TEST_F(Commit, RecordsTheIndexAndNothingElse) {
  write_file(repo_ / "a", "staged\n");
  git(repo_, {"add", "a"});
  write_file(repo_ / "a", "changed since\n");
  EXPECT_EQ(commit("HEAD"), "0$") << "the first commit";
  const std::string first = git(repo_, {"rev-parse", "HEAD"});
  EXPECT_EQ(show("%P|%an|%ae|%cn|%ce|%B"),
            "|Me \xc3\xa9|me@example.org|Me \xc3\xa9|me@example.org|A message\n\n%s\n");
  EXPECT_EQ(git(repo_, {"show", "HEAD:a"}), "staged");
  EXPECT_EQ(commit("HEAD"), "0$") << "the same index again";
  EXPECT_EQ(show("%P"), first);
  EXPECT_EQ(git(repo_, {"status", "--porcelain"}), " M a");

  git(repo_, {"rm", "--cached", "--quiet", "a"});
  EXPECT_EQ(commit("refs/heads/topic"), "0$") << "an empty index on a new branch";
  EXPECT_EQ(git(repo_, {"ls-tree", "topic"}) + show("%P", "topic"), "");
  EXPECT_EQ(show("%P"), first) << "the current branch stayed";
}

TEST_F(Commit, TakesASecondParentByItsWholeId) {
  write_file(repo_ / "a", "a\n");
  const std::string first = commit_all(repo_, "one");
  const std::string second = git(repo_, {"commit-tree", "-m", "two", "HEAD^{tree}"});
  EXPECT_EQ(commit("HEAD", second), "0$");
  EXPECT_EQ(show("%P"), first + " " + second);
  const std::string merge = show("%H");
  const std::string error = "unchanged ERROR: Return code from GIT is ";
  const std::string rows[][2] = {{"", "(3). unable to parse OID"},
                                 {git(repo_, {"rev-parse", "HEAD:a"}), "(3). the requested type"},
                                 {second.substr(0, 12), "(9). object not found"}};
  for (const auto& [id, expected] : rows) {
    EXPECT_PRED2(starts_with, commit("HEAD", id), error + expected);
  }
  EXPECT_EQ(show("%H"), merge);
  EXPECT_EQ(commit("refs/heads/new", second), "0$");
  EXPECT_EQ(show("%P", "new"), "") << "libgit2 stops at the parent that is missing";
}

TEST_F(Commit, LeavesTheReferenceWhenItCannotCommit) {
  for (const char* text : {"base\n", "ours\n", "theirs\n"}) {
    write_file(repo_ / "a", text);
    commit_all(repo_, text);
  }
  const std::string before = show("%H");
  EXPECT_PRED2(starts_with, answer("do_commit", repo_, "HEAD", "", "me@example.org", "x"),
               "-1 ERROR: Return code from GIT is (3). ");
  write_file(repo_ / ".git/refs/heads/main.lock", "");
  EXPECT_EQ(commit("HEAD"), "0$") << "that the creation failed is not told";
  fs::remove(repo_ / ".git/refs/heads/main.lock");
  git(repo_, {"read-tree", "-m", "HEAD~2", "HEAD", "HEAD~"});
  EXPECT_PRED2(starts_with, commit("HEAD"),
               "unchanged ERROR: Return code from GIT is (10). cannot create a tree from a not");
  EXPECT_EQ(show("%H"), before);
}

// A commit with two parents asks for every function. Missing, then failing.
TEST_F(Commit, PassesOverWhatLibgit2Lacks) {
  const std::string before = commit_all(repo_, "one");
  const std::string second = git(repo_, {"commit-tree", "-m", "two", "HEAD^{tree}"});
  const std::string rows[][3] = {
      {"git_signature_now", "0$", "-1 ERROR: No"},
      {"git_repository_index", "unchanged ERROR: No", "-1 ERROR: No"},
      // Without an error to show the commit goes on, to fail on the tree that is not there.
      {"git_index_write_tree", "-1 ERROR: Return", "-1 ERROR: Return"},
      {"git_reference_name_to_id", "unchanged ERROR: Return", "0$"},
      {"git_oid_fromstrp", "unchanged ERROR: Return", "unchanged ERROR: No"},
      {"git_commit_create_v", "0$", "0$"},
  };
  for (const auto& [function, missing, failing] : rows) {
    SCOPED_TRACE(function);
    hide_function(function);
    EXPECT_PRED2(starts_with, commit("HEAD", second), missing);
    replace_function(function, kFails);
    EXPECT_PRED2(starts_with, commit("HEAD", second), failing);
    EXPECT_EQ(show("%H"), before);
  }
}

}  // namespace
}  // namespace uwugit::test
