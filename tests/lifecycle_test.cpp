// Making, connecting and removing repositories, checked with git.
#include <sys/stat.h>
#include <unistd.h>

#include "process.h"
#include "support/leaks.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

class Lifecycle : public ModuleTest {
 protected:
  std::string note_made(const std::string& directory) {
    return "NOTE: " + directory + " repository successfully initialized.\n";
  }

  fs::path repo_ = sandbox_.root() / "missing/parents/repo";
};

TEST_F(Lifecycle, InitialisesARepositoryOnABranch) {
  EXPECT_EQ(code("init_repo", repo_, "trunk"), "0");
  EXPECT_EQ(logged(), note_made(repo_));
  EXPECT_EQ(git(repo_, {"symbolic-ref", "HEAD"}), "refs/heads/trunk");
  EXPECT_EQ(git(repo_, {"remote"}), "");
  write_file(repo_ / "file", "x");
  commit_all(repo_, "one");

  const fs::path connected = sandbox_.root() / "connected";
  EXPECT_EQ(code("init_repo", connected, "refs/heads/main", "https://example.org/x"), "0");
  EXPECT_EQ(git(connected, {"symbolic-ref", "HEAD"}), "refs/heads/refs/heads/main");
  EXPECT_EQ(git(connected, {"config", "remote.origin.url"}), "https://example.org/x");
  EXPECT_EQ(git(connected, {"config", "remote.origin.fetch"}),
            "+refs/heads/*:refs/remotes/origin/*");
  logged();
  EXPECT_EQ(code("init_repo", connected, "main", "again"), "-1") << "a second \"origin\"";
  EXPECT_EQ(logged(), "ERROR: Return code from GIT is (7). remote 'origin' already exists\n");
  EXPECT_EQ(git(connected, {"config", "remote.origin.url"}), "https://example.org/x");
}

TEST_F(Lifecycle, TakesARelativeDirectoryFromTheCurrentFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(sandbox_.root());
  EXPECT_EQ(code("init_repo", "a/b", "main"), "0");
  EXPECT_EQ(logged(), note_made("a/b"));
  EXPECT_EQ(code("init_repo", "", "main"), "-1");
  EXPECT_FALSE(fs::exists(sandbox_.root() / ".git"));
  fs::current_path(before);
  EXPECT_EQ(git(sandbox_.root() / "a/b", {"rev-parse", "--show-toplevel"}),
            (fs::canonical(sandbox_.root()) / "a/b").string());
  EXPECT_EQ(git(sandbox_.root() / "a/b", {"config", "--default", "", "core.worktree"}), "");
}

TEST_F(Lifecycle, AddsTheRemoteOnce) {
  sandbox_.new_repository();
  const std::string repo = sandbox_.root() / "repo", url = "git@example.org:x.git";
  EXPECT_EQ(code("set_remote_url", repo, url), "0");
  EXPECT_EQ(logged(),
            "NOTE: Remote URL: " + url + " successfully set for repository: " + repo + ".\n");
  EXPECT_EQ(code("set_remote_url", repo, "other"), "-1");
  EXPECT_EQ(logged(), "ERROR: Return code from GIT is (7). remote 'origin' already exists\n");
  EXPECT_EQ(git(repo, {"remote", "--verbose"}),
            "origin\t" + url + " (fetch)\norigin\t" + url + " (push)");
  EXPECT_EQ(code("set_remote_url", "/none", url), "-1");
  EXPECT_EQ(logged(), "ERROR: Unable to open local repository '/none'.\n");
}

// A tree with everything that makes removing hard, and things outside that it points to.
TEST_F(Lifecycle, DeletesWhatIsInTheFolderAndNothingElse) {
  const fs::path repo = sandbox_.new_repository(), outside = sandbox_.root() / "outside";
  write_file(outside / "kept/file", "x");
  write_file(repo / "read-only/deep/file", "x");
  write_file(repo / "no-access/file", "x");
  commit_all(repo, "one");
  fs::create_symlink(outside, repo / "link");
  fs::create_symlink(outside / "kept/file", repo / "read-only/link");
  fs::create_symlink("nowhere", repo / "dangling");
  ASSERT_EQ(mkfifo((repo / "pipe").c_str(), 0600), 0);
  write_file(repo / std::string(200, 'n') / std::string(200, 'm') / "\xff\n*", "x");
  chmod((repo / "read-only/deep/file").c_str(), 0);
  chmod((repo / "read-only/deep").c_str(), 0555);
  chmod((repo / "read-only").c_str(), 0555);
  chmod((repo / "no-access").c_str(), 0);
  // Root is stopped by no mode: the command does the same as somebody else.
  std::vector<std::string> command = {UWUGIT_COMMAND, "call", "delete_repo", repo.string()};
  if (geteuid() == 0) {
    runner::run({"chown", "-R", "65534:65534", sandbox_.root().string()});
    command.insert(command.begin(), {"setpriv", "--reuid=65534", "--clear-groups"});
  }
  const runner::CommandResult result = runner::run(command);
  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_FALSE(fs::exists(fs::symlink_status(repo)));
  EXPECT_EQ(read_file(outside / "kept/file"), "x");
}

TEST_F(Lifecycle, RefusesToDeleteWhatIsNoFolder) {
  const std::string root = sandbox_.root();
  write_file(root + "/file", "x");
  write_file(root + "/folder/file", "x");
  fs::create_symlink(root + "/folder", root + "/link");
  const struct {
    std::string path;
    const char* code;
    const char* reason;
  } rows[] = {
      {root + "/file", "-1", ""},
      {root + "/link", "-1", ""},
      {root + "/link/", "-1", ""},
      {root + "/folder/.", "-1", ""},
      {root + "/folder/..", "-1", ""},
      {"/", "-1", ""},
      {"//", "-1", ""},
      {"/..", "-1", ""},
      {"", "-2", " Location does not exist."},
      {root + "/none", "-2", " Location does not exist."},
      {root + "/file/none", "-2", " Location does not exist."},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(code("delete_repo", row.path), row.code) << row.path;
    EXPECT_EQ(logged(), "ERROR: An error occurred while trying to delete " + row.path + "." +
                            row.reason + "\n");
    EXPECT_TRUE(fs::exists(root + "/folder/file"));
  }
  EXPECT_EQ(code("delete_repo", root + "/folder//"), "0");
  EXPECT_FALSE(fs::exists(root + "/folder"));
  EXPECT_EQ(logged(), "");
}

TEST_F(Lifecycle, ToleratesAnyMissingFunction) {
  const std::string repo = sandbox_.root() / "repo",
                    none = "ERROR: No detailed error info available.\n";
  const struct {
    const char* missing;
    const char* function;
    const char* code;
    std::string log;
  } rows[] = {
      {"git_repository_init_ext", "init_repo", "-1", none},
      {"git_remote_create_with_fetchspec", "init_repo", "0", note_made(repo)},
      {"git_repository_free", "init_repo", "0", note_made(repo)},
      {"git_libgit2_init", "init_repo", "unchanged", ""},
      {"git_repository_open", "set_remote_url", "-1",
       "ERROR: Unable to open local repository '" + repo + "'.\n"},
      {"git_remote_create_with_fetchspec", "set_remote_url", "-1", none},
      {"git_remote_free", "set_remote_url", "0",
       "NOTE: Remote URL: url successfully set for repository: " + repo + ".\n"},
      {"git_delete_repo", "delete_repo", "unchanged", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.function) + " without " + row.missing);
    hide_function(row.missing);
    const LeaksOnPurpose leaks;
    const std::string function = row.function;
    fs::remove_all(repo);
    if (function != "init_repo") sandbox_.new_repository();
    EXPECT_EQ(function == "init_repo"        ? code(function, repo, "main", "url")
              : function == "set_remote_url" ? code(function, repo, "url")
                                             : code(function, repo),
              row.code);
    EXPECT_EQ(logged(), row.log);
  }
}

}  // namespace
}  // namespace uwugit::test
