// Branches of real repositories, checked with git.
#include "support/leaks.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

class Branches : public ModuleTest {
 protected:
  void SetUp() override {
    write_file(repo_ / "file", "base\n");
    base_ = commit_all(repo_, "base");
    write_file(repo_ / "file", "second\n");
    second_ = commit_all(repo_, "second");
  }

  std::string remove(const std::string& name, int kind = 0) {
    return answer("delete_branch", repo_, name, kind);
  }
  std::string check_out(const std::string& name) { return answer("checkout_branch", repo_, name); }
  std::string create(const std::string& start, const std::string& name, int is_forced = 0) {
    return answer("create_branch", repo_, start, name, is_forced);
  }

  // "name id" of each.
  std::string branches() {
    return git(repo_, {"for-each-ref", "--format=%(refname:short) %(objectname)", "refs/heads",
                       "refs/remotes"});
  }
  std::string status() { return git(repo_, {"status", "--porcelain", "--branch"}); }

  fs::path repo_ = sandbox_.new_repository();
  std::string base_;
  std::string second_;
};

TEST_F(Branches, AreCreatedCheckedOutAndDeletedByAnyNameThatGitTakes) {
  const std::string name = "feature/ветка/日本語";
  const std::string note = "0 NOTE: Branch \"" + name + "\" successfully ";
  EXPECT_EQ(create(base_, name), note + "created.\n$");
  EXPECT_EQ(check_out(name), note + "checked out.\n$");
  EXPECT_EQ(status(), "## " + name);
  EXPECT_EQ(read_file(repo_ / "file"), "base\n");
  EXPECT_PRED2(starts_with, remove(name), "-1 ") << "HEAD is on it";
  EXPECT_PRED2(starts_with, check_out("main"), "0 ");
  EXPECT_EQ(remove(name), note + "deleted.\n$");

  // By kind, unless locked.
  git(repo_, {"update-ref", "refs/remotes/origin/topic", base_});
  git(repo_, {"branch", "topic"});
  EXPECT_PRED2(starts_with, remove("origin/topic"), "unchanged ");
  EXPECT_PRED2(starts_with, remove("topic", 1), "unchanged ");
  write_file(repo_ / ".git/refs/heads/topic.lock", "");
  EXPECT_PRED2(starts_with, remove("topic"), "-1 ");
  fs::remove(repo_ / ".git/refs/heads/topic.lock");
  EXPECT_EQ(branches(), "main " + second_ + "\ntopic " + second_ + "\norigin/topic " + base_);
  EXPECT_PRED2(starts_with, remove("topic", 2), "0 ");
  EXPECT_PRED2(starts_with, remove("origin/topic", 1), "0 ");
  EXPECT_EQ(branches(), "main " + second_);
}

TEST_F(Branches, StartAtACommitsIdOrAReference) {
  const std::string error = " ERROR: Return code from GIT is (";
  const std::string no_start =
      "unchanged ERROR: Unable to create branch 'new'. A valid commit id or reference name is "
      "required.\n$";
  const std::string blob = git(repo_, {"rev-parse", "HEAD:file"});
  const std::tuple<std::string, const char*, std::string> rows[] = {
      {"main", "new", no_start},
      {base_.substr(0, 10), "new", "unchanged" + error + "9). "},
      {blob, "new", "unchanged" + error},
      {"HEAD", "a b", "-1" + error + "4). "},
      {"HEAD", "main", "-1" + error + "4). "},
  };
  for (const auto& [start, name, answer] : rows) {
    EXPECT_PRED2(starts_with, create(start, name), answer);
    EXPECT_EQ(branches(), "main " + second_);
  }
  EXPECT_PRED2(starts_with, create("refs/heads/main", "new"), "0 NOTE: ");
  EXPECT_PRED2(starts_with, create(base_, "new", 1), "0 NOTE: ");
  EXPECT_PRED2(starts_with, create(base_, "main", 1), "-1" + error) << "HEAD is on it";
  EXPECT_EQ(branches(), "main " + second_ + "\nnew " + base_);
}

// A tag leaves HEAD on an unborn branch: HEAD follows the name, not what the name means.
TEST_F(Branches, AreNotCheckedOutOverTheUsersWork) {
  git(repo_, {"branch", "topic", base_});
  git(repo_, {"tag", "v1", base_});
  write_file(repo_ / "other", "kept\n");
  write_file(repo_ / "file", "mine\n");
  EXPECT_EQ(check_out("topic"),
            "-1 ERROR: Return code from GIT is (20). 1 conflict prevents checkout\n$");
  EXPECT_EQ(status(), "## main\n M file\n?? other");
  EXPECT_EQ(read_file(repo_ / "file"), "mine\n");
  EXPECT_PRED2(starts_with, check_out("nothing"), "-1 ERROR: ");
  git(repo_, {"checkout", "--quiet", "file"});
  EXPECT_PRED2(starts_with, check_out("topic"), "0 ");
  EXPECT_EQ(status(), "## topic\n?? other");
  EXPECT_PRED2(starts_with, check_out("v1"), "0 ");
  EXPECT_PRED2(starts_with, status(), "## No commits yet on v1\n");
}

TEST_F(Branches, ReportAnyMissingFunction) {
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {"git_repository_open", "-1 ", "-1 ", "-1 "}, {"git_oid_fromstrp", "unchanged ", "0 ", "0 "},
      {"git_branch_create", "-1 ", "0 ", "0 "},     {"git_branch_lookup", "0 ", "0 ", "unchanged "},
      {"git_branch_delete", "0 ", "0 ", "-1 "},     {"git_revparse_single", "0 ", "-1 ", "0 "},
      {"git_checkout_tree", "0 ", "-1 ", "0 "},     {"git_repository_set_head", "0 ", "-1 ", "0 "},
      {"git_object_free", "0 ", "0 ", "0 "},
  };
  for (const auto& [function, created, checked_out, deleted] : rows) {
    git(repo_, {"branch", "--force", "topic"});
    hide_function(function);
    const LeaksOnPurpose leaks;
    EXPECT_PRED2(starts_with, create(base_, "new", 1), created) << function;
    EXPECT_PRED2(starts_with, check_out("main"), checked_out) << function;
    EXPECT_PRED2(starts_with, remove("topic"), deleted) << function;
  }
}

}  // namespace
}  // namespace uwugit::test
