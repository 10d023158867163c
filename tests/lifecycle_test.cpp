// Making, connecting and removing repositories, checked with git.
#include <sys/stat.h>
#include <unistd.h>

#include "process.h"
#include "support/leaks.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

using Lifecycle = ModuleTest;

constexpr char kMade[] = " repository successfully initialized.\n$";
constexpr char kSecondRemote[] =
    "-1 ERROR: Return code from GIT is (7). remote 'origin' already exists\n$";

TEST_F(Lifecycle, InitialisesARepositoryOnABranch) {
  const std::string root = fs::canonical(sandbox_.root()), url = "https://example.org/x";
  const fs::path before = fs::current_path();
  fs::current_path(root);
  EXPECT_EQ(answer("init_repo", "a/b", "trunk"), std::string("0 NOTE: a/b") + kMade);
  EXPECT_EQ(code("init_repo", "", "main"), "-1");
  fs::current_path(before);
  EXPECT_FALSE(fs::exists(root + "/.git"));
  EXPECT_EQ(git(root + "/a/b", {"rev-parse", "--show-toplevel"}), root + "/a/b");
  EXPECT_EQ(git(root + "/a/b", {"config", "--default", "", "core.worktree"}), "");
  EXPECT_EQ(git(root + "/a/b", {"symbolic-ref", "HEAD"}), "refs/heads/trunk");
  EXPECT_EQ(git(root + "/a/b", {"remote"}), "");

  const std::string connected = root + "/missing/connected";
  EXPECT_EQ(answer("init_repo", connected, "refs/heads/main", url), "0 NOTE: " + connected + kMade);
  EXPECT_EQ(git(connected, {"symbolic-ref", "HEAD"}), "refs/heads/refs/heads/main");
  EXPECT_EQ(answer("init_repo", connected, "main", "again"), kSecondRemote);
  EXPECT_EQ(
      git(connected, {"config", "--get-regexp", "^remote"}),
      "remote.origin.url " + url + "\nremote.origin.fetch +refs/heads/*:refs/remotes/origin/*");
}

TEST_F(Lifecycle, AddsTheRemoteOnce) {
  const std::string repo = sandbox_.new_repository(), url = "git@example.org:x.git";
  EXPECT_EQ(answer("set_remote_url", repo, url),
            "0 NOTE: Remote URL: " + url + " successfully set for repository: " + repo + ".\n$");
  EXPECT_EQ(answer("set_remote_url", repo, "other"), kSecondRemote);
  EXPECT_EQ(git(repo, {"remote", "--verbose"}),
            "origin\t" + url + " (fetch)\norigin\t" + url + " (push)");
  EXPECT_EQ(answer("set_remote_url", "/none", url),
            "-1 ERROR: Unable to open local repository '/none'.\n$");
}

// A tree with everything that makes removing hard, and things outside that it points to.
TEST_F(Lifecycle, DeletesWhatIsInTheFolderAndNothingElse) {
  const fs::path repo = sandbox_.new_repository(), outside = sandbox_.root() / "outside";
  write_file(outside / "kept/file", "x");
  write_file(repo / "read-only/deep/file", "x");
  write_file(repo / "no-access/file", "x");
  write_file(repo / std::string(200, 'n') / std::string(200, 'm') / "\xff\n*", "x");
  fs::create_symlink(outside, repo / "link");
  fs::create_symlink(outside / "kept/file", repo / "read-only/link");
  fs::create_symlink("nowhere", repo / "dangling");
  ASSERT_EQ(mkfifo((repo / "pipe").c_str(), 0600), 0);
  for (const char* folder : {"read-only/deep", "read-only", "no-access"}) {
    chmod((repo / folder).c_str(), *folder == 'r' ? 0555 : 0);
  }
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
  for (const std::string& path :
       {root + "/file", root + "/link", root + "/link/", root + "/folder/.", root + "/folder/..",
        std::string("/"), std::string("//"), std::string("/..")}) {
    EXPECT_EQ(answer("delete_repo", path),
              "-1 ERROR: An error occurred while trying to delete " + path + ".\n$");
    EXPECT_TRUE(fs::exists(root + "/folder/file"));
  }
  for (const std::string& path : {std::string(), root + "/none", root + "/file/none"}) {
    EXPECT_EQ(answer("delete_repo", path), "-2 ERROR: An error occurred while trying to delete " +
                                               path + ". Location does not exist.\n$");
  }
  EXPECT_EQ(answer("delete_repo", root + "/folder//"), "0$");
  EXPECT_FALSE(fs::exists(root + "/folder"));
}

TEST_F(Lifecycle, ToleratesAnyMissingFunction) {
  const std::string repo = sandbox_.root() / "repo",
                    none = "-1 ERROR: No detailed error info available.\n$",
                    made = "0 NOTE: " + repo + kMade;
  const std::vector<std::string> rows[] = {
      {"git_repository_init_ext", "init_repo", none},
      {"git_remote_create_with_fetchspec", "init_repo", made},
      {"git_repository_free", "init_repo", made},
      {"git_libgit2_init", "init_repo", "unchanged$"},
      {"git_repository_open", "set_remote_url",
       "-1 ERROR: Unable to open local repository '" + repo + "'.\n$"},
      {"git_remote_create_with_fetchspec", "set_remote_url", none},
      {"git_remote_free", "set_remote_url",
       "0 NOTE: Remote URL: url successfully set for repository: " + repo + ".\n$"},
      {"git_delete_repo", "delete_repo", "unchanged$"},
  };
  for (const auto& row : rows) {
    hide_function(row[0]);
    const LeaksOnPurpose leaks;
    fs::remove_all(repo);
    if (row[1] != "init_repo") sandbox_.new_repository();
    EXPECT_EQ(row[1] == "init_repo"        ? answer(row[1], repo, "main", "url")
              : row[1] == "set_remote_url" ? answer(row[1], repo, "url")
                                           : answer(row[1], repo),
              row[2])
        << row[1] << " without " << row[0];
  }
}

}  // namespace
}  // namespace uwugit::test
