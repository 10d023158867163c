// Fetch, pull and push whatever the state of both sides, against a remote on this machine.
#include "support/transfer_test.h"

namespace uwugit::test {
namespace {

TEST_F(Transfer, PullsWhateverArrived) {
  clone_by_path();
  EXPECT_EQ(answer("do_pull", work_), "1 NOTE: Repository is already up-to-date.\n$");

  const std::string theirs = commit_elsewhere("second\n"), ours = commit_here("mine", "mine\n");
  write_file(work_ / "file", "not committed\n");
  const std::string before = state();
  EXPECT_EQ(answer("do_pull", work_),
            "-1 ERROR: Return code from GIT is (22). 1 uncommitted change would be overwritten by "
            "merge\n$");
  git(work_, {"update-ref", "refs/remotes/origin/main", "main~"});
  EXPECT_EQ(state(), before);
  git(work_, {"checkout", "--quiet", "file"});
  EXPECT_EQ(answer("do_pull", work_),
            "0 NOTE: Merge 'FETCH_HEAD' into current branch 'main' successful.\n$");
  EXPECT_EQ(git(work_, {"log", "-1", "--format=%s|%P|%an|%ae|%cn|%ce"}),
            "Merge 'FETCH_HEAD' into branch main|" + ours + " " + theirs +
                "|Merge|No Email|Merge|No Email");
  EXPECT_EQ(read_file(work_ / "file"), "second\n");

  git(work_, {"config", "merge.conflictStyle", "diff3"});
  commit_elsewhere("theirs\n");
  const std::string head = commit_here("file", "ours\n");
  EXPECT_EQ(answer("do_pull", work_), "-2 NOTE: Conflict in file: file\n$");
  EXPECT_EQ(read_file(work_ / "file"),
            "<<<<<<< Local\nours\n||||||| Ancestor\nsecond\n=======\ntheirs\n>>>>>>> Remote\n");
  EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), head);
  state();  // no merge is in progress
  // What is committed now has one parent, so the same conflict comes back…
  commit_here("file", "both\n");
  EXPECT_EQ(code("do_pull", work_), "-2");
  // …until our side says what theirs says.
  commit_here("file", "theirs\n");
  EXPECT_EQ(code("do_pull", work_), "0");
  EXPECT_EQ(code("do_push", work_), "0");
  EXPECT_EQ(remote_main(), git(work_, {"rev-parse", "HEAD"}));

  // A file that only they rename takes what we write.
  git(other_, {"pull", "--quiet"});
  git(other_, {"mv", "mine", "theirs"});
  commit_elsewhere("renamed\n");
  commit_here("mine", "mine\nmore\n");
  EXPECT_EQ(code("do_pull", work_), "0");
  EXPECT_EQ(read_file(work_ / "theirs"), "mine\nmore\n");
}

// Where a pull has nothing to merge or nowhere to put it, and what a push answers and logs there.
TEST_F(Transfer, PullsAndPushesFromAnyHead) {
  clone_by_path();
  EXPECT_EQ(code("do_fetch", work_), "0");  // leaves a FETCH_HEAD that must not be taken again
  commit_elsewhere("second\n");
  const std::string error = " ERROR: Return code from GIT is ";
  const struct {
    std::vector<std::string> setup;
    std::string pull;
    std::string push;
  } rows[] = {
      {{"switch", "--create", "only-here"}, "0", "0 NOTE: Push successful!\n$"},
      {{"checkout", "--detach"}, "0", "3" + error + "(3). not a valid reference 'HEAD'\n$"},
      {{"switch", "--orphan", "unborn"},
       "unchanged",
       "unchanged" + error + "(4). reference 'refs/heads/unborn' not found\n$"},
      {{"remote", "remove", "origin"},
       "unchanged",
       "unchanged" + error + "(7). remote 'origin' does not exist\n$"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.setup.back());
    git(work_, row.setup);
    const std::string before = git(work_, {"log", "--format=%H", "--branches"});
    EXPECT_EQ(code("do_pull", work_), row.pull);
    EXPECT_EQ(git(work_, {"log", "--format=%H", "--branches"}), before);
    EXPECT_EQ(answer("do_push", work_), row.push);
  }
  EXPECT_EQ(code("do_fetch", work_), "unchanged");
  for (const char* function : {"do_fetch", "do_pull", "do_push"}) {
    EXPECT_EQ(answer(function, "/none"),
              "-1 ERROR: An error occurred while opening local repository '/none'.\n$");
  }
}

TEST_F(Transfer, FetchesTheRefspecThatIsGiven) {
  clone_by_path();
  const std::string theirs = commit_elsewhere("second\n");
  const std::pair<const char*, const char*> rows[] = {
      {"refs/heads/main:refs/heads/copy", "0"},
      {"refs/heads/none:refs/heads/none", "0"},  // what the remote lacks is no error
      {"::", "3"},
      {"", "0"},
  };
  for (const auto& [refspec, answered] : rows) {
    EXPECT_EQ(code("do_fetch", work_, " ", " ", " ", " ", refspec), answered) << refspec;
  }
  EXPECT_EQ(git(work_, {"rev-parse", "copy", "origin/main"}), theirs + "\n" + theirs);
}

TEST_F(Transfer, RefusesARepositoryOfAnotherUserUntilItIsDeclaredSafe) {
  clone_by_path();
  if (geteuid() == 0) {
    ASSERT_EQ(chown(work_.c_str(), 65534, 65534), 0);
  } else {
    git(work_, {"config", "core.worktree", "/usr"});
  }
  EXPECT_EQ(code("do_fetch", work_), "-1");
  git(sandbox_.root(), {"config", "--global", "safe.directory", work_.string()});
  if (geteuid() != 0) git(sandbox_.root(), {"config", "--global", "safe.directory", "/usr/"});
  EXPECT_EQ(code("do_fetch", work_), "0");
}

// As the host calls what the module registers, with any number of arguments.
TEST_F(Transfer, IsRegisteredAsPullAndPush) {
  clone_by_path();
  commit_elsewhere("second\n");
  host::Arguments all, one;
  all.text(work_.string()).text("a").text("b").text(" ").text("c").text(" ").number(1.9);
  one.text(work_.string());
  EXPECT_EQ(module_.registered().at("GIT_PULL").descriptor.maximum_arguments, 7);
  EXPECT_EQ(host_.call(module_.find("GIT_PULL"), all.block()).code, 0);
  EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), remote_main());
  const std::string ours = commit_here("mine", "mine\n");
  EXPECT_EQ(module_.registered().at("GIT_PUSH").descriptor.maximum_arguments, 7);
  EXPECT_EQ(host_.call(module_.find("GIT_PUSH"), one.block()).code, 0);
  EXPECT_EQ(remote_main(), ours);
}

}  // namespace
}  // namespace uwugit::test
