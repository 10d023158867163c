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

  template <class... Given>
  std::string remove(const Given&... given) {
    return code("delete_branch", repo_, given...);
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
  for (const std::string name : {"topic", "feature/ветка/日本語"}) {
    const std::string note = "NOTE: Branch \"" + name + "\" successfully ";
    EXPECT_EQ(code("create_branch", repo_, base_, name, 0), "0");
    EXPECT_EQ(code("checkout_branch", repo_, name), "0");
    EXPECT_EQ(status(), "## " + name);
    EXPECT_EQ(read_file(repo_ / "file"), "base\n");
    EXPECT_EQ(logged(), note + "created.\n" + note + "checked out.\n");
    EXPECT_EQ(remove(name), "-1") << "HEAD is on it";
    EXPECT_EQ(code("checkout_branch", repo_, "main"), "0");
    logged();
    EXPECT_EQ(remove(name), "0");
    EXPECT_EQ(logged(), note + "deleted.\n");
    EXPECT_EQ(branches(), "main " + second_);
  }
}

TEST_F(Branches, StartAtACommitsIdOrAReference) {
  const std::string no_start =
      "ERROR: Unable to create branch 'new'. A valid commit id or reference name is required.\n";
  const struct {
    std::string start, name, code, log;
  } rows[] = {
      {"main", "new", "unchanged", no_start},
      {"", "new", "unchanged", no_start},
      {base_.substr(0, 10), "new", "unchanged", "ERROR: Return code from GIT is (9). "},
      {git(repo_, {"rev-parse", "HEAD:file"}), "new", "unchanged", "ERROR: Return code from GIT"},
      {"HEAD", "a b", "-1", "ERROR: Return code from GIT is (4). "},
      {"HEAD", "", "-1", "ERROR: Return code from GIT is (4). "},
      {"HEAD", "main", "-1", "ERROR: Return code from GIT is (4). "},
      {"refs/heads/main", "new", "0", "NOTE: "},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(branches(), "main " + second_);
    EXPECT_EQ(code("create_branch", repo_, row.start, row.name, 0), row.code) << row.start;
    EXPECT_TRUE(logged().starts_with(row.log)) << row.start;
  }
  EXPECT_EQ(branches(), "main " + second_ + "\nnew " + second_);
  EXPECT_EQ(code("create_branch", repo_, base_, "new", 1), "0");
  EXPECT_EQ(branches(), "main " + second_ + "\nnew " + base_);
  EXPECT_EQ(code("create_branch", repo_, base_, "main", 1), "-1") << "HEAD is on it";
}

TEST_F(Branches, AreDeletedByKindUnlessLocked) {
  git(repo_, {"update-ref", "refs/remotes/origin/topic", base_});
  git(repo_, {"branch", "topic"});
  EXPECT_EQ(remove("origin/topic"), "unchanged");
  EXPECT_EQ(remove("topic", 1), "unchanged");
  write_file(repo_ / ".git/refs/heads/topic.lock", "");
  EXPECT_EQ(remove("topic"), "-1");
  fs::remove(repo_ / ".git/refs/heads/topic.lock");
  EXPECT_EQ(branches(), "main " + second_ + "\ntopic " + second_ + "\norigin/topic " + base_);
  EXPECT_EQ(remove("topic", 2), "0");
  EXPECT_EQ(remove("origin/topic", 1), "0");
  EXPECT_EQ(branches(), "main " + second_);
}

TEST_F(Branches, AreNotCheckedOutOverTheUsersWork) {
  git(repo_, {"switch", "--quiet", "--create", "topic", base_});
  write_file(repo_ / "new", "theirs\n");
  commit_all(repo_, "topic");
  git(repo_, {"switch", "--quiet", "main"});
  for (const char* work : {"new", "file"}) {
    write_file(repo_ / work, "mine\n");
    EXPECT_EQ(code("checkout_branch", repo_, "topic"), "-1");
    EXPECT_EQ(logged(), "ERROR: Return code from GIT is (20). 1 conflict prevents checkout\n");
    EXPECT_EQ(read_file(repo_ / work), "mine\n");
    EXPECT_TRUE(status().starts_with("## main\n"));
    fs::remove(repo_ / work);
  }
  EXPECT_EQ(code("checkout_branch", repo_, "nothing"), "-1");
  git(repo_, {"checkout", "--quiet", "file"});
  write_file(repo_ / "other", "kept\n");
  EXPECT_EQ(code("checkout_branch", repo_, "topic"), "0");
  EXPECT_EQ(status(), "## topic\n?? other");
}

// HEAD follows the name, not what the name means.
TEST_F(Branches, CheckingOutATagLeavesHeadOnAnUnbornBranch) {
  git(repo_, {"tag", "v1", base_});
  EXPECT_EQ(code("checkout_branch", repo_, "v1"), "0");
  EXPECT_EQ(read_file(repo_ / "file"), "base\n");
  EXPECT_TRUE(status().starts_with("## No commits yet on v1\n"));
  git(repo_, {"symbolic-ref", "HEAD", "refs/heads/main"});
  git(repo_, {"reset", "--quiet", "--hard"});
  EXPECT_EQ(code("checkout_branch", repo_, "HEAD~1"), "-1") << "no branch can have that name";
  EXPECT_EQ(status(), "## main\nM  file");
}

TEST_F(Branches, ReportAnyMissingFunction) {
  const struct {
    const char *function, *created, *checked_out, *deleted;
  } rows[] = {
      {"git_repository_open", "-1", "-1", "-1"},    {"git_oid_fromstrp", "unchanged", "0", "0"},
      {"git_commit_lookup", "unchanged", "0", "0"}, {"git_branch_create", "-1", "0", "0"},
      {"git_branch_lookup", "0", "0", "unchanged"}, {"git_branch_delete", "0", "0", "-1"},
      {"git_revparse_single", "0", "-1", "0"},      {"git_checkout_tree", "0", "-1", "0"},
      {"git_repository_set_head", "0", "-1", "0"},  {"git_object_free", "0", "0", "0"},
  };
  for (const auto& row : rows) {
    git(repo_, {"branch", "--force", "topic"});
    hide_function(row.function);
    const LeaksOnPurpose leaks;
    EXPECT_EQ(code("create_branch", repo_, base_, "new", 1), row.created) << row.function;
    EXPECT_EQ(code("checkout_branch", repo_, "main"), row.checked_out) << row.function;
    EXPECT_EQ(remove("topic"), row.deleted) << row.function;
  }
  EXPECT_TRUE(logged().starts_with("ERROR: Unable to open local repository '" + repo_.string() +
                                   "'.\nERROR: Unable to open"));
}

}  // namespace
}  // namespace uwugit::test
