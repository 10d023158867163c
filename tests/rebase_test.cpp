// Rebases of real repositories, checked with git's own.
#include <git2.h>

#include "process.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

constexpr char kGivenUp[] =
    "ERROR: An error occured while rebasing. Abort the rebase and try again.\n";
constexpr char kAdvice[] =
    "ERROR: Your options are to abort the rebase or skip this commit and finish the rebase.\n";

int asked_for_next;
int fail_next(git_rebase_operation** operation, git_rebase*) {
  ++asked_for_next;
  *operation = nullptr;
  return -1;
}

// One operation of each kind that needs no commit.
int give_next_without_commit(git_rebase_operation** operation, git_rebase*) {
  static git_rebase_operation given{};
  if (++asked_for_next > 3) return GIT_ITEROVER;
  given.type =
      static_cast<git_rebase_operation_t>(GIT_REBASE_OPERATION_SQUASH + asked_for_next - 1);
  *operation = &given;
  return 0;
}

class Rebase : public ModuleTest {
 protected:
  std::string commit(const std::string& file, const std::string& content,
                     const std::string& message) {
    write_file(repo_ / file, content);
    return commit_all(repo_, message);
  }

  // main: base, main. topic: base, one, two, three, of which two changes the file that main changes
  // when there is to be a conflict. HEAD is on topic.
  void diverge(bool with_conflict) {
    commit("file", "base\n", "base");
    git(repo_, {"switch", "--quiet", "--create", "topic"});
    one_ = commit("a", "1\n", "one");
    two_ = commit(with_conflict ? "file" : "b", "2\n", "two\n\nwith a body");
    topic_ = commit("c", "3\n", "three");
    git(repo_, {"switch", "--quiet", "main"});
    main_ = commit("file", "main\n", "main");
    git(repo_, {"switch", "--quiet", "topic"});
  }

  std::string rebase() {
    return code("rebase", repo_, topic_, main_, "Rebaser", "rebase@example.org");
  }
  std::string operate(const std::string& word, const std::string& branch = "topic") {
    return code("rebase_operation", repo_, word, branch, "Rebaser", "rebase@example.org");
  }
  void stop_at_conflict() {
    diverge(true);
    ASSERT_EQ(rebase(), "-1");
    const std::string log = logged();
    ASSERT_TRUE(log.starts_with("ERROR: An error occured while rebasing commit [" + two_ +
                                "]. Check for conflicts.\n" + kAdvice +
                                "ERROR: Return code from GIT is ("))
        << log;
  }
  void resolve() {
    write_file(repo_ / "file", "resolved\n");
    git(repo_, {"add", "file"});
  }

  std::string id(const std::string& name) { return git(repo_, {"rev-parse", name}); }
  // Where HEAD is, and the subjects of its history, latest first.
  std::string history() {
    const bool is_on_branch =
        runner::run({"git", "-C", repo_.string(), "symbolic-ref", "-q", "HEAD"}).status == 0;
    return (is_on_branch ? git(repo_, {"symbolic-ref", "--short", "HEAD"}) : "detached") + ": " +
           git(repo_, {"log", "--format=%s", "HEAD"});
  }
  std::string status() { return git(repo_, {"status", "--porcelain"}); }
  bool is_in_progress() { return fs::exists(repo_ / ".git/rebase-merge"); }

  fs::path repo_ = sandbox_.new_repository();
  std::string one_, two_, topic_, main_;
};

TEST_F(Rebase, MakesTheCommitsThatGitMakes) {
  diverge(false);
  const fs::path expected = sandbox_.root() / "copy";
  fs::copy(repo_, expected, fs::copy_options::recursive);
  git(expected, {"rebase", "--quiet", "main"});
  EXPECT_EQ(rebase(), "0");
  EXPECT_EQ(logged(), "NOTE: Rebase successful.\n");
  EXPECT_EQ(history(), "topic: three\ntwo\none\nmain\nbase");
  const std::vector<std::string> log = {"log", "--format=%T %an %ae %ad %B", "topic"};
  EXPECT_EQ(git(repo_, log), git(expected, log));
  EXPECT_EQ(git(repo_, {"log", "-3", "--format=%cn %ce"}),
            "Rebaser rebase@example.org\nRebaser rebase@example.org\nRebaser rebase@example.org");
  EXPECT_EQ(status(), "");
  EXPECT_FALSE(is_in_progress());
}

TEST_F(Rebase, OfNothingAheadMovesTheBranchToTheOntoCommit) {
  diverge(false);
  topic_ = id("main~1");
  git(repo_, {"reset", "--quiet", "--hard", topic_});
  EXPECT_EQ(rebase(), "0");
  EXPECT_EQ(history(), "topic: main\nbase");
  EXPECT_EQ(status(), "");
}

TEST_F(Rebase, CountsOperationsThatNeedNoCommit) {
  diverge(false);
  asked_for_next = 0;
  replace_function("git_rebase_next", reinterpret_cast<void*>(give_next_without_commit));
  EXPECT_EQ(rebase(), "0");
  EXPECT_EQ(history(), "topic: main\nbase");
}

TEST_F(Rebase, ThatConflictsGoesOnAsTheUserSays) {
  stop_at_conflict();
  const fs::path stopped = sandbox_.root() / "stopped";
  fs::rename(repo_, stopped);
  const struct {
    const char* word;
    bool is_committed;
    const char *note, *history, *status;
  } rows[] = {
      {"skip", false, "NOTE: Rebase finished.\n", "topic: three\none\nmain\nbase", ""},
      {"CONTINUE", true, "NOTE: Rebase finished.\n", "topic: three\ntwo\none\nmain\nbase", ""},
      {"Finish  ", true, "NOTE: Rebase finished.\n", "topic: two\none\nmain\nbase", ""},
      {"abort", false, "NOTE: Rebase aborted.\n", "topic: three\ntwo\none\nbase", ""},
      {"abort", true, "NOTE: Rebase aborted.\n", "topic: three\ntwo\none\nbase", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.word);
    fs::remove_all(repo_);
    fs::copy(stopped, repo_, fs::copy_options::recursive);
    if (row.is_committed) {
      resolve();
      git(repo_, {"commit", "--quiet", "--message", "two"});
    }
    EXPECT_EQ(operate(row.word), "0");
    EXPECT_EQ(logged(), row.note);
    EXPECT_EQ(history(), row.history);
    EXPECT_EQ(status(), row.status);
    EXPECT_FALSE(is_in_progress());
  }
  EXPECT_EQ(id("topic"), topic_);
}

// The commits that are left are lost to the branch without an error: users must commit first.
TEST_F(Rebase, ContinueWithAResolutionOnlyStagedDropsTheRemainingCommits) {
  stop_at_conflict();
  resolve();
  EXPECT_EQ(operate("CONTINUE"), "0");
  EXPECT_EQ(history(), "topic: one\nmain\nbase");
  EXPECT_EQ(status(), "M  file");
}

TEST_F(Rebase, OperationsNeedARebaseAWordAndABranch) {
  diverge(true);
  EXPECT_EQ(operate("CONTINUE"), "-1");
  EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is ("));
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(rebase(), "-1") << "one is in progress";
  logged();
  for (const char* word : {"restart", "", "SKIP!"}) {
    EXPECT_EQ(operate(word), "unchanged");
    std::string upper = word;
    if (upper == "restart") upper = "RESTART";
    EXPECT_EQ(logged(), "ERROR: " + upper +
                            " is an invalid operation. SKIP, CONTINUE, FINISH or ABORT are valid "
                            "operations.\n");
  }
  EXPECT_TRUE(is_in_progress());
  EXPECT_EQ(operate("ABORT", "nothing"), "-1");
  EXPECT_EQ(logged(),
            "NOTE: Rebase aborted.\n"
            "ERROR: Return code from GIT is (4). reference 'refs/heads/nothing' not found\n");
  EXPECT_FALSE(is_in_progress());
  EXPECT_EQ(history(), "detached: three\ntwo\none\nbase");
}

// A rebase that another program started from a branch is aborted to that branch.
TEST_F(Rebase, AbortFindsTheCommitOfAHeadOnABranch) {
  stop_at_conflict();
  write_file(repo_ / ".git/rebase-merge/head-name", "refs/heads/topic\n");
  EXPECT_EQ(operate("ABORT"), "0");
  EXPECT_EQ(history(), "topic: three\ntwo\none\nbase");
}

TEST_F(Rebase, RefusesWhatItCannotStart) {
  diverge(false);
  const std::string nowhere = (sandbox_.root() / "nothing").string();
  const auto rebase_of = [&](const std::string& repo, const std::string& commit,
                             const std::string& onto, const std::string& name) {
    return code("rebase", repo, commit, onto, name, "rebase@example.org");
  };
  EXPECT_EQ(rebase_of(nowhere, topic_, main_, "R"), "-1");
  EXPECT_EQ(code("rebase_operation", nowhere, "SKIP", "topic", "R", "r@example.org"), "-1");
  const std::string not_opened = "ERROR: Unable to open local repository '" + nowhere + "'.\n";
  EXPECT_EQ(logged(), not_opened + not_opened);
  EXPECT_EQ(rebase_of(repo_, "topic", main_, "R"), "-1") << "a name is no id";
  EXPECT_EQ(rebase_of(repo_, topic_, main_.substr(0, 12), "R"), "-1");
  EXPECT_EQ(rebase_of(repo_, topic_, std::string(40, '1'), "R"), "-1");
  EXPECT_EQ(rebase_of(repo_, topic_, main_, ""), "-1");
  EXPECT_FALSE(is_in_progress());
  EXPECT_EQ(history(), "topic: three\ntwo\none\nbase");
}

TEST_F(Rebase, LeavesTheUsersWorkAlone) {
  diverge(false);
  write_file(repo_ / "a", "mine\n");
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(logged(),
            std::string(kGivenUp) +
                "ERROR: Return code from GIT is (29). unstaged changes exist in workdir\n");
  EXPECT_EQ(status(), " M a");
  git(repo_, {"checkout", "--quiet", "a"});

  // From elsewhere: undoing an attempt would take the files to topic, over what is in the way.
  git(repo_, {"switch", "--quiet", "main"});
  for (const char* exclude : {"", "a\n"}) {
    write_file(repo_ / "a", "mine\n");
    write_file(repo_ / ".git/info/exclude", exclude);
    EXPECT_EQ(rebase(), "-1");
    EXPECT_TRUE(logged().starts_with(kGivenUp));
    EXPECT_EQ(read_file(repo_ / "a"), "mine\n");
    EXPECT_EQ(history(), "main: main\nbase");
    EXPECT_FALSE(is_in_progress());
  }
  fs::remove(repo_ / "a");
  EXPECT_EQ(rebase(), "0");
  EXPECT_EQ(history(), "main: three\ntwo\none\nmain\nbase") << "the branch of HEAD is moved";
  EXPECT_EQ(id("topic"), topic_);
}

TEST_F(Rebase, WithoutABranchToMoveFailsInTheEnd) {
  diverge(false);
  git(repo_, {"checkout", "--quiet", "--detach"});
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(history(), "detached: three\ntwo\none\nmain\nbase");
  git(repo_, {"switch", "--quiet", "topic"});
  write_file(repo_ / ".git/refs/heads/topic.lock", "");
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(id("topic"), topic_);
  EXPECT_FALSE(is_in_progress());
}

TEST_F(Rebase, GivesUpAfterAHundredRepeatsAndUndoesThem) {
  diverge(false);
  asked_for_next = 0;
  replace_function("git_rebase_next", reinterpret_cast<void*>(fail_next));
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(asked_for_next, 101 * 4) << "each attempt asks once more than it has operations";
  const std::string log = logged();
  EXPECT_TRUE(log.starts_with(kGivenUp));
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2) << log;
  EXPECT_EQ(history(), "topic: three\ntwo\none\nbase");
  EXPECT_EQ(id("topic"), topic_);
  EXPECT_EQ(status(), "");
  EXPECT_FALSE(is_in_progress());
}

// An untracked file where a commit of the branch puts one that a later commit removes.
TEST_F(Rebase, GivesUpOnAFileInTheWay) {
  diverge(false);
  commit("passing", "x", "four");
  fs::remove(repo_ / "passing");
  topic_ = commit("d", "5\n", "five");
  write_file(repo_ / "passing", "mine\n");
  EXPECT_EQ(rebase(), "-1");
  EXPECT_TRUE(logged().starts_with(kGivenUp));
  EXPECT_EQ(read_file(repo_ / "passing"), "mine\n");
  EXPECT_EQ(status(), "?? passing");
  EXPECT_EQ(history(), "topic: five\nfour\nthree\ntwo\none\nbase");
  EXPECT_FALSE(is_in_progress());
}

TEST_F(Rebase, ReportsAnyMissingFunction) {
  stop_at_conflict();
  const fs::path stopped = sandbox_.root() / "stopped";
  fs::rename(repo_, stopped);
  const struct {
    const char *called, *function;
  } rows[] = {
      {"", "git_repository_open"},
      {"", "git_oid_fromstrp"},
      {"", "git_annotated_commit_lookup"},
      {"", "git_signature_now"},
      {"", "git_reference_lookup"},
      {"", "git_rebase_init"},
      {"", "git_rebase_operation_entrycount"},
      {"", "git_rebase_next"},
      {"", "git_rebase_commit"},
      {"", "git_rebase_finish"},
      {"", "git_reference_symbolic_target"},
      {"SKIP", "git_rebase_open"},
      {"SKIP", "git_signature_now"},
      {"SKIP", "git_checkout_head"},
      {"SKIP", "git_rebase_next"},
      {"SKIP", "git_rebase_commit"},
      {"SKIP", "git_rebase_finish"},
      {"ABORT", "git_reference_lookup"},
      {"ABORT", "git_oid_fmt"},
      {"ABORT", "git_oid_fromstrp"},
      {"ABORT", "git_reference_create"},
      {"ABORT", "git_reference_set_target"},
      {"ABORT", "git_reference_name"},
      {"ABORT", "git_repository_set_head"},
  };
  topic_ = one_;  // up to where no commit conflicts
  for (const auto& row : rows) {
    const std::string word = row.called;
    fs::remove_all(repo_);
    fs::copy(stopped, repo_, fs::copy_options::recursive);
    if (word.empty()) {
      fs::remove_all(repo_ / ".git/rebase-merge");
      git(repo_, {"switch", "--quiet", "--force", "topic"});
    }
    hide_function(row.function);
    EXPECT_EQ(word.empty() ? rebase() : operate(word), "-1") << word << " " << row.function;
    EXPECT_TRUE(logged().find("ERROR: ") != std::string::npos) << word << " " << row.function;
  }
}

}  // namespace
}  // namespace uwugit::test
