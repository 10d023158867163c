// Rebases of real repositories, checked with git's own.
#include <git2.h>

#include <algorithm>
#include <sstream>

#include "support/module_test.h"

namespace uwugit::test {
namespace {

constexpr char kGivenUp[] =
    "ERROR: An error occured while rebasing. Abort the rebase and try again.\n";

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
    ASSERT_TRUE(logged().starts_with("ERROR: An error occured while rebasing commit [" + two_ +
                                     "]. Check for conflicts.\n"
                                     "ERROR: Your options are to abort the rebase or skip this "
                                     "commit and finish the rebase.\n"
                                     "ERROR: Return code from GIT is ("));
  }
  // Where HEAD is, what has changed, the history, and whether a rebase is in progress.
  std::string state() {
    std::string text = git(repo_, {"status", "--porcelain", "--branch"}) + ":";
    std::istringstream history(git(repo_, {"log", "--format=%s", "HEAD"}));
    for (std::string subject; std::getline(history, subject);) text += " " + subject;
    return text + (fs::exists(repo_ / ".git/rebase-merge") ? " (rebasing)" : "");
  }

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
  EXPECT_EQ(state(), "## topic: three two one main base");
  const std::vector<std::string> log = {"log", "--format=%T %an %ae %ad %B", "topic"};
  EXPECT_EQ(git(repo_, log), git(expected, log));
  EXPECT_EQ(git(repo_, {"log", "-3", "--format=%cn %ce", "topic"}),
            "Rebaser rebase@example.org\nRebaser rebase@example.org\nRebaser rebase@example.org");
}

TEST_F(Rebase, CountsOperationsThatNeedNoCommit) {
  diverge(false);
  asked_for_next = 0;
  replace_function("git_rebase_next", reinterpret_cast<void*>(give_next_without_commit));
  EXPECT_EQ(rebase(), "0");
  EXPECT_EQ(state(), "## topic: main base") << "without a commit of its own it is the onto commit";
}

// With a resolution that is only staged, or none, CONTINUE drops what is left without an error:
// users must commit first. The name of HEAD's branch is what a rebase from a branch leaves.
TEST_F(Rebase, ThatConflictsGoesOnAsTheUserSays) {
  stop_at_conflict();
  const fs::path stopped = sandbox_.root() / "stopped";
  fs::rename(repo_, stopped);
  enum Preparation { kNone, kStaged, kCommitted, kOnBranch };
  const struct {
    const char* word;
    Preparation preparation;
    const char *note, *state;
  } rows[] = {
      {"skip", kNone, "NOTE: Rebase finished.\n", "## topic: three one main base"},
      {"CONTINUE", kCommitted, "NOTE: Rebase finished.\n", "## topic: three two one main base"},
      {"Continue", kStaged, "NOTE: Rebase finished.\n", "## topic\nM  file: one main base"},
      {"CONTINUE", kNone, "NOTE: Rebase finished.\n", "## topic\nUU file: one main base"},
      {"Finish  ", kCommitted, "NOTE: Rebase finished.\n", "## topic: two one main base"},
      {"abort", kNone, "NOTE: Rebase aborted.\n", "## topic: three two one base"},
      {"ABORT", kCommitted, "NOTE: Rebase aborted.\n", "## topic: three two one base"},
      {"ABORT", kOnBranch, "NOTE: Rebase aborted.\n", "## topic: three two one base"},
  };
  for (const auto& row : rows) {
    fs::remove_all(repo_);
    fs::copy(stopped, repo_, fs::copy_options::recursive);
    if (row.preparation == kStaged || row.preparation == kCommitted) {
      write_file(repo_ / "file", "resolved\n");
      git(repo_, {"add", "file"});
    }
    if (row.preparation == kCommitted) git(repo_, {"commit", "--quiet", "--message", "two"});
    if (row.preparation == kOnBranch) {
      write_file(repo_ / ".git/rebase-merge/head-name", "refs/heads/topic\n");
    }
    EXPECT_EQ(operate(row.word), "0");
    EXPECT_EQ(logged(), row.note);
    EXPECT_EQ(state(), row.state) << row.word << " " << row.preparation;
  }
}

TEST_F(Rebase, OperationsNeedARebaseAWordAndABranch) {
  diverge(true);
  EXPECT_EQ(operate("CONTINUE"), "-1");
  EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is ("));
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(rebase(), "-1") << "one is in progress";
  logged();
  EXPECT_EQ(operate("restart"), "unchanged");
  EXPECT_EQ(logged(),
            "ERROR: RESTART is an invalid operation. SKIP, CONTINUE, FINISH or ABORT are valid "
            "operations.\n");
  EXPECT_EQ(state(), "## HEAD (no branch)\nUU file: one main base (rebasing)");
  EXPECT_EQ(operate("ABORT", "nothing"), "-1");
  EXPECT_EQ(logged(),
            "NOTE: Rebase aborted.\n"
            "ERROR: Return code from GIT is (4). reference 'refs/heads/nothing' not found\n");
  EXPECT_EQ(state(), "## HEAD (no branch): three two one base");
}

TEST_F(Rebase, RefusesWhatItCannotStart) {
  diverge(false);
  const struct {
    std::string commit, onto, name;
  } rows[] = {{"topic", main_, "R"},                // a name is no id
              {topic_, main_.substr(0, 12), "R"},   // nor is a part of one
              {topic_, std::string(40, '1'), "R"},  // no such commit
              {topic_, main_, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(code("rebase", repo_, row.commit, row.onto, row.name, "rebase@example.org"), "-1");
    EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is ("));
    EXPECT_EQ(state(), "## topic: three two one base");
  }
  write_file(repo_ / "a", "mine\n");
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(logged(),
            std::string(kGivenUp) +
                "ERROR: Return code from GIT is (29). unstaged changes exist in workdir\n");
  EXPECT_EQ(state(), "## topic\n M a: three two one base");
}

// From elsewhere, undoing an attempt would take the files to topic, over what is in the way.
TEST_F(Rebase, FromAnotherBranchSparesFilesInTheWayAndMovesThatBranch) {
  diverge(false);
  git(repo_, {"switch", "--quiet", "main"});
  for (const char* exclude : {"", "a\n"}) {
    write_file(repo_ / "a", "mine\n");
    write_file(repo_ / ".git/info/exclude", exclude);
    EXPECT_EQ(rebase(), "-1");
    EXPECT_TRUE(logged().starts_with(kGivenUp));
    EXPECT_EQ(read_file(repo_ / "a"), "mine\n");
    EXPECT_EQ(state(), *exclude ? "## main: main base" : "## main\n?? a: main base");
  }
  fs::remove(repo_ / "a");
  EXPECT_EQ(rebase(), "0");
  EXPECT_EQ(state(), "## main: three two one main base");
  EXPECT_EQ(git(repo_, {"rev-parse", "topic"}), topic_);
}

TEST_F(Rebase, WithoutABranchToMoveFailsInTheEnd) {
  diverge(false);
  git(repo_, {"checkout", "--quiet", "--detach"});
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(state(), "## HEAD (no branch): three two one main base");
  git(repo_, {"switch", "--quiet", "topic"});
  write_file(repo_ / ".git/refs/heads/topic.lock", "");
  EXPECT_EQ(rebase(), "-1");
  EXPECT_EQ(git(repo_, {"rev-parse", "topic"}), topic_);
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
  EXPECT_EQ(state(), "## topic: three two one base");

  // By libgit2 itself: a file that one commit of the branch makes and a later one removes again.
  hide_function("");
  commit("passing", "x", "four");
  fs::remove(repo_ / "passing");
  topic_ = commit("d", "5\n", "five");
  write_file(repo_ / "passing", "mine\n");
  EXPECT_EQ(rebase(), "-1");
  EXPECT_TRUE(logged().starts_with(kGivenUp));
  EXPECT_EQ(read_file(repo_ / "passing"), "mine\n");
  EXPECT_EQ(state(), "## topic\n?? passing: five four three two one base");
}

TEST_F(Rebase, ReportsAnyMissingFunction) {
  stop_at_conflict();
  const fs::path stopped = sandbox_.root() / "stopped";
  fs::rename(repo_, stopped);
  const std::pair<const char*, std::vector<const char*>> rows[] = {
      {"",
       {"git_repository_open", "git_oid_fromstrp", "git_annotated_commit_lookup",
        "git_signature_now", "git_reference_lookup", "git_rebase_init",
        "git_rebase_operation_entrycount", "git_rebase_next", "git_rebase_commit",
        "git_rebase_finish", "git_reference_symbolic_target"}},
      {"SKIP",
       {"git_rebase_open", "git_signature_now", "git_checkout_head", "git_rebase_next",
        "git_rebase_commit", "git_rebase_finish"}},
      {"ABORT",
       {"git_reference_lookup", "git_oid_fmt", "git_oid_fromstrp", "git_reference_create",
        "git_reference_set_target", "git_reference_name", "git_repository_set_head"}},
  };
  topic_ = one_;  // up to where no commit conflicts
  for (const auto& [word, functions] : rows) {
    for (const char* function : functions) {
      fs::remove_all(repo_);
      fs::copy(stopped, repo_, fs::copy_options::recursive);
      if (!*word) {
        fs::remove_all(repo_ / ".git/rebase-merge");
        git(repo_, {"switch", "--quiet", "--force", "topic"});
      }
      hide_function(function);
      EXPECT_EQ(*word ? operate(word) : rebase(), "-1") << word << " " << function;
      EXPECT_NE(logged().find("ERROR: "), std::string::npos) << word << " " << function;
    }
  }
}

}  // namespace
}  // namespace uwugit::test
