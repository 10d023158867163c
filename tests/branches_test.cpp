// Branches of real repositories, checked with git.
#include "process.h"
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

  std::string id(const std::string& name) { return git(repo_, {"rev-parse", name}); }
  std::string branches() {
    return git(repo_, {"for-each-ref", "--format=%(refname:short)", "refs/heads", "refs/remotes"});
  }

  fs::path repo_ = sandbox_.new_repository();
  std::string base_;
  std::string second_;
};

TEST_F(Branches, AreCreatedCheckedOutAndDeletedByAnyNameThatGitTakes) {
  const struct {
    const char* name;
    bool is_valid;
  } rows[] = {{"topic", true}, {"feature/ветка/日本語", true}, {"a b", false}, {"", false}};
  for (const auto& [name, is_valid] : rows) {
    SCOPED_TRACE(name);
    const std::string quoted = "Branch \"" + std::string(name) + "\" successfully ";
    EXPECT_EQ(code("create_branch", repo_, base_, name, 0), is_valid ? "0" : "-1");
    if (!is_valid) {
      EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is (4). "));
      continue;
    }
    EXPECT_EQ(id("refs/heads/" + std::string(name)), base_);
    EXPECT_EQ(code("checkout_branch", repo_, name), "0");
    EXPECT_EQ(git(repo_, {"status", "--porcelain", "--branch"}), "## " + std::string(name));
    EXPECT_EQ(read_file(repo_ / "file"), "base\n");
    EXPECT_EQ(code("checkout_branch", repo_, "main"), "0");
    EXPECT_EQ(code("delete_branch", repo_, name), "0");
    EXPECT_EQ(logged(),
              "NOTE: " + quoted + "created.\nNOTE: " + quoted +
                  "checked out.\nNOTE: Branch \"main\" successfully checked out.\nNOTE: " + quoted +
                  "deleted.\n");
  }
  EXPECT_EQ(branches(), "main");
}

TEST_F(Branches, StartAtACommitsIdOrAReference) {
  const std::string no_start =
      "ERROR: Unable to create branch 'new'. A valid commit id or reference name is required.\n";
  const struct {
    std::string start, target, log;
  } rows[] = {
      {"HEAD", second_, "NOTE: Branch \"new\" successfully created.\n"},
      {"refs/heads/main", second_, "NOTE: Branch \"new\" successfully created.\n"},
      {"main", "", no_start},
      {"", "", no_start},
      {base_.substr(0, 10), "", "ERROR: Return code from GIT is (9). "},
      {id("HEAD:file"), "", "ERROR: Return code from GIT is ("},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(code("create_branch", repo_, row.start, "new", 0),
              row.target.empty() ? "unchanged" : "0");
    EXPECT_TRUE(logged().starts_with(row.log)) << row.start;
    EXPECT_EQ(branches(), row.target.empty() ? "main" : "main\nnew") << row.start;
    if (!row.target.empty()) {
      EXPECT_EQ(id("new"), row.target);
    }
    runner::run({"git", "-C", repo_.string(), "branch", "-D", "new"});
  }
}

TEST_F(Branches, AreReplacedOnlyByForceAndNeverUnderHead) {
  git(repo_, {"branch", "topic", base_});
  git(repo_, {"update-ref", "refs/remotes/origin/topic", base_});
  EXPECT_EQ(code("create_branch", repo_, "HEAD", "topic", 0), "-1");
  EXPECT_EQ(id("topic"), base_);
  EXPECT_EQ(code("create_branch", repo_, "HEAD", "topic", 1), "0");
  EXPECT_EQ(id("topic"), second_);
  EXPECT_EQ(code("create_branch", repo_, base_, "main", 1), "-1");
  EXPECT_EQ(code("delete_branch", repo_, "main"), "-1");
  EXPECT_EQ(code("delete_branch", repo_, "origin/topic"), "unchanged");
  write_file(repo_ / ".git/refs/heads/topic.lock", "");
  EXPECT_EQ(code("delete_branch", repo_, "topic", 2), "-1");
  EXPECT_EQ(branches(), "main\ntopic\norigin/topic");
  fs::remove(repo_ / ".git/refs/heads/topic.lock");
  EXPECT_EQ(code("delete_branch", repo_, "topic", 2), "0");
  EXPECT_EQ(code("delete_branch", repo_, "origin/topic", 1), "0");
  EXPECT_EQ(branches(), "main");
}

TEST_F(Branches, AreNotCheckedOutOverTheUsersWork) {
  git(repo_, {"switch", "--quiet", "--create", "topic", base_});
  write_file(repo_ / "new", "theirs\n");
  commit_all(repo_, "topic");
  git(repo_, {"switch", "--quiet", "main"});
  write_file(repo_ / "new", "mine\n");
  EXPECT_EQ(code("checkout_branch", repo_, "topic"), "-1");
  EXPECT_EQ(logged(), "ERROR: Return code from GIT is (20). 1 conflict prevents checkout\n");
  EXPECT_EQ(git(repo_, {"status", "--porcelain", "--branch"}), "## main\n?? new");
  EXPECT_EQ(read_file(repo_ / "new"), "mine\n");
  fs::remove(repo_ / "new");
  write_file(repo_ / "file", "changed\n");
  EXPECT_EQ(code("checkout_branch", repo_, "topic"), "-1");
  EXPECT_EQ(read_file(repo_ / "file"), "changed\n");
  EXPECT_EQ(code("checkout_branch", repo_, "nothing"), "-1");
  git(repo_, {"checkout", "--quiet", "file"});
  write_file(repo_ / "other", "kept\n");
  EXPECT_EQ(code("checkout_branch", repo_, "topic"), "0");
  EXPECT_EQ(git(repo_, {"status", "--porcelain", "--branch"}), "## topic\n?? other");
}

// HEAD follows the name, not what the name means.
TEST_F(Branches, CheckingOutATagLeavesHeadOnAnUnbornBranch) {
  git(repo_, {"tag", "v1", base_});
  EXPECT_EQ(code("checkout_branch", repo_, "v1"), "0");
  EXPECT_EQ(read_file(repo_ / "file"), "base\n");
  EXPECT_EQ(git(repo_, {"symbolic-ref", "HEAD"}), "refs/heads/v1");
  EXPECT_NE(runner::run({"git", "-C", repo_.string(), "rev-parse", "--verify", "HEAD"}).status, 0);
  git(repo_, {"symbolic-ref", "HEAD", "refs/heads/main"});
  git(repo_, {"reset", "--quiet", "--hard"});
  EXPECT_EQ(code("checkout_branch", repo_, "HEAD~1"), "-1") << "no branch can have that name";
  EXPECT_EQ(read_file(repo_ / "file"), "base\n");
  EXPECT_EQ(git(repo_, {"symbolic-ref", "HEAD"}), "refs/heads/main");
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
    EXPECT_EQ(code("delete_branch", repo_, "topic"), row.deleted) << row.function;
  }
  EXPECT_TRUE(logged().starts_with("ERROR: Unable to open local repository '" + repo_.string() +
                                   "'.\nERROR: Unable to open"));
}

}  // namespace
}  // namespace uwugit::test
