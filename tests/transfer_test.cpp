// Fetch, pull and push whatever the state of both sides, against a remote on this machine.
#include <unistd.h>

#include "support/leaks.h"
#include "support/transfer_test.h"

namespace uwugit::test {
namespace {

TEST_F(Transfer, PullsWhateverArrived) {
  clone_by_path();
  EXPECT_EQ(code("do_pull", work_), "1");
  EXPECT_EQ(logged(), "NOTE: Repository is already up-to-date.\n");

  const std::string theirs = commit_elsewhere("second\n");
  const std::string ours = commit_here("mine", "mine\n");
  write_file(work_ / "file", "not committed\n");
  const std::string before = state();
  EXPECT_EQ(code("do_pull", work_), "-1");
  EXPECT_EQ(logged(),
            "ERROR: Return code from GIT is (22). 1 uncommitted change would be overwritten by "
            "merge\n");
  git(work_, {"update-ref", "refs/remotes/origin/main", "main~"});
  EXPECT_EQ(state(), before);
  git(work_, {"checkout", "--quiet", "file"});
  EXPECT_EQ(code("do_pull", work_), "0");
  EXPECT_EQ(logged(), "NOTE: Merge 'FETCH_HEAD' into current branch 'main' successful.\n");
  EXPECT_EQ(git(work_, {"log", "-1", "--format=%s|%P|%an|%ae|%cn|%ce"}),
            "Merge 'FETCH_HEAD' into branch main|" + ours + " " + theirs +
                "|Merge|No Email|Merge|No Email");
  EXPECT_EQ(read_file(work_ / "file"), "second\n");
  EXPECT_EQ(code("do_push", work_), "0");

  commit_elsewhere("theirs\n");  // a history without the merge: the remote was force-pushed
  commit_here("file", "ours\n");
  const std::string head = git(work_, {"rev-parse", "HEAD"});
  logged();
  EXPECT_EQ(code("do_pull", work_), "-2");
  EXPECT_EQ(logged(), "NOTE: Conflict in file: file\n");
  EXPECT_EQ(read_file(work_ / "file"), "<<<<<<< Local\nours\n=======\ntheirs\n>>>>>>> Remote\n");
  EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), head);
  state();  // no merge is in progress
  // What is committed now has one parent, so the same conflict comes back…
  commit_here("file", "both\n");
  EXPECT_EQ(code("do_pull", work_), "-2");
  // …until our side says what theirs says.
  commit_here("file", "theirs\n");
  EXPECT_EQ(code("do_pull", work_), "0");
  commit_here("file", "both\n");
  EXPECT_EQ(code("do_push", work_), "0");
  EXPECT_EQ(remote_main(), git(work_, {"rev-parse", "HEAD"}));
}

// Where a pull has nothing to merge or nowhere to put it: code and line.
TEST_F(Transfer, PullsAndPushesFromAnyHead) {
  clone_by_path();
  EXPECT_EQ(code("do_fetch", work_), "0");  // leaves a FETCH_HEAD that must not be taken again
  commit_elsewhere("second\n");
  const struct {
    std::vector<std::string> setup;
    const char* pull;
    const char* push;
    const char* log;
  } rows[] = {
      {{"switch", "--quiet", "--create", "only-here"}, "0", "0", "NOTE: Push successful!\n"},
      {{"checkout", "--quiet", "--detach"},
       "0",
       "3",
       "ERROR: Return code from GIT is (3). not a valid reference 'HEAD'\n"},
      {{"switch", "--quiet", "--orphan", "unborn"},
       "unchanged",
       "unchanged",
       "ERROR: Return code from GIT is (4). reference 'refs/heads/unborn' not found\n"},
      {{"remote", "remove", "origin"},
       "unchanged",
       "unchanged",
       "ERROR: Return code from GIT is (7). remote 'origin' does not exist\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.setup.back());
    git(work_, row.setup);
    const std::string before = git(work_, {"log", "--format=%H", "--branches"});
    EXPECT_EQ(code("do_pull", work_), row.pull);
    logged();
    EXPECT_EQ(git(work_, {"log", "--format=%H", "--branches"}), before);
    EXPECT_EQ(code("do_push", work_), row.push);
    EXPECT_EQ(logged(), row.log);
  }
  EXPECT_EQ(code("do_fetch", work_), "unchanged");
  for (const char* function : {"do_fetch", "do_pull", "do_push"}) {
    logged();
    EXPECT_EQ(code(function, sandbox_.root()), "-1");
    EXPECT_EQ(logged(), "ERROR: An error occurred while opening local repository '" +
                            sandbox_.root().string() + "'.\n");
  }
}

TEST_F(Transfer, FetchesTheRefspecThatIsGiven) {
  clone_by_path();
  const std::string theirs = commit_elsewhere("second\n");
  const auto fetch = [&](const char* refspec) {
    return code("do_fetch", work_, " ", " ", " ", " ", refspec);
  };
  EXPECT_EQ(fetch("refs/heads/main:refs/heads/copy"), "0");
  EXPECT_EQ(git(work_, {"rev-parse", "copy"}), theirs);
  EXPECT_EQ(fetch("refs/heads/none:refs/heads/none"), "0") << "what the remote lacks is no error";
  EXPECT_EQ(fetch("::"), "3");
  logged();
  for (const char* none : {"", " "}) {
    commit_elsewhere(std::string("third") + none);
    EXPECT_EQ(fetch(none), "0");
    EXPECT_EQ(git(work_, {"rev-parse", "origin/main"}), remote_main());
  }
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
  for (const char* name : {"GIT_PULL", "GIT_PUSH"}) {
    const auto& registered = module_.registered().at(name);
    EXPECT_EQ(registered.descriptor.maximum_arguments, 7);
    EXPECT_EQ(module_.find(name), registered.implementation);
  }
  host::Arguments all;
  all.text(work_.string()).text("a").text("b").text(" ").text("c").text(" ").number(1.9);
  EXPECT_EQ(host_.call(module_.find("GIT_PULL"), all.block()).code, 0);
  EXPECT_EQ(git(work_, {"rev-parse", "HEAD"}), remote_main());
  const std::string ours = commit_here("mine", "mine\n");
  host::Arguments one;
  one.text(work_.string());
  EXPECT_EQ(host_.call(module_.find("GIT_PUSH"), one.block()).code, 0);
  EXPECT_EQ(remote_main(), ours);
}

// What each call answers and logs when libgit2 lacks a function that it looks up.
TEST_F(Transfer, ToleratesAnyMissingFunction) {
  const std::string kNoInfo = "ERROR: No detailed error info available.\n";
  const std::string kNotOpened =
      "ERROR: An error occurred while opening local repository '" + work_.string() + "'.\n";
  const struct {
    const char* missing;
    const char* function;
    const char* code;
    std::string log;
  } rows[] = {
      {"git_clone", "do_clone", "-1", kNoInfo},
      {"git_clone_options_init", "do_clone", "0", ""},
      {"git_repository_free", "do_clone", "0", ""},
      {"git_libgit2_opts", "do_fetch", "0", kNoInfo + "NOTE: Fetch successful!\n"},
      {"git_repository_open", "do_fetch", "-1", kNotOpened},
      {"git_remote_lookup", "do_fetch", "unchanged", kNoInfo},
      {"git_repository_head", "do_fetch", "unchanged", kNoInfo},
      {"git_remote_fetch", "do_fetch", "0", "NOTE: Fetch successful!\n"},
      {"git_fetch_options_init", "do_fetch", "0", "NOTE: Fetch successful!\n"},
      {"git_remote_free", "do_fetch", "0", "NOTE: Fetch successful!\n"},
      {"git_reference_name", "do_pull", "unchanged", kNoInfo},
      {"git_remote_fetch", "do_pull", "-3", ""},
      {"git_repository_fetchhead_foreach", "do_pull", "0", ""},
      {"git_annotated_commit_from_fetchhead", "do_pull", "0", ""},
      {"git_merge_analysis", "do_pull", "-1", kNoInfo},
      {"git_repository_index", "do_pull", "-1", kNoInfo},
      {"git_merge", "do_pull", "-1", kNoInfo},
      {"git_branch_name", "do_pull", "-1", kNoInfo},
      {"git_commit_create", "do_pull", "-1", kNoInfo},
      {"git_annotated_commit_free", "do_pull", "0",
       "NOTE: Merge 'FETCH_HEAD' into current branch 'main' successful.\n"},
      {"git_reference_name", "do_push", "unchanged", kNoInfo},
      {"git_remote_push", "do_push", "0", "NOTE: Push successful!\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.function) + " without " + row.missing);
    fs::remove_all(work_);
    if (std::string_view(row.function) != "do_clone") {
      git(other_, {"reset", "--quiet", "--hard", "HEAD"});
      clone_by_path();
      commit_elsewhere(std::string("elsewhere ") + row.missing);
      commit_here("mine", row.missing);
    }
    hide_function(row.missing);
    const LeaksOnPurpose leaks;
    const std::string answer =
        std::string_view(row.function) == "do_clone"
            ? clone(bare_)
            : transfer(row.function,
                       {" ", " ", " ", " ",
                        row.missing == std::string_view("git_libgit2_opts") ? "/none" : " "});
    EXPECT_EQ(answer, row.code);
    EXPECT_EQ(logged(), row.log);
  }
}

}  // namespace
}  // namespace uwugit::test
