// Rebases of real repositories, checked with git's own.
#include <git2.h>

#include <algorithm>
#include <sstream>

#include "support/module_test.h"

namespace uwugit::test {
namespace {

constexpr char kGivenUp[] =
    "-1 ERROR: An error occured while rebasing. Abort the rebase and try again.\nERROR: ";

int asked_for_next;
int (*real_next)(git_rebase_operation**, git_rebase*);
int never_end(git_rebase_operation** operation, git_rebase* rebase) {
  ++asked_for_next;
  return real_next(operation, rebase) == 0 ? 0 : -1;
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
  void diverge(bool with_conflict = false) {
    commit("file", "base\n", "base");
    fs::remove_all(repo_ / ".git/hooks");  // quicker to copy
    git(repo_, {"switch", "--quiet", "--create", "topic"});
    commit("a", "1\n", "one");
    two_ = commit(with_conflict ? "file" : "b", "2\n", "two\n\nwith a body");
    topic_ = commit("c", "3\n", "three");
    git(repo_, {"switch", "--quiet", "main"});
    main_ = commit("file", "main\n", "main");
    git(repo_, {"switch", "--quiet", "topic"});
  }

  std::string rebase() { return rebase(topic_, main_, "Rebaser"); }
  std::string rebase(const std::string& id, const std::string& onto, const std::string& name) {
    return answer("rebase", repo_, id, onto, name, "rebase@example.org");
  }
  std::string operate(const std::string& word, const std::string& branch = "topic") {
    return answer("rebase_operation", repo_, word, branch, "Rebaser", "rebase@example.org");
  }
  // Where HEAD is, what has changed, the history, and whether a rebase is in progress.
  std::string state() {
    std::string text = git(repo_, {"status", "--porcelain", "--branch"}) + ":";
    std::istringstream history(git(repo_, {"log", "--format=%s", "HEAD"}));
    for (std::string subject; std::getline(history, subject);) text += " " + subject;
    return text + (fs::exists(repo_ / ".git/rebase-merge") ? " (rebasing)" : "");
  }

  fs::path repo_ = sandbox_.new_repository();
  std::string two_, topic_, main_;
};

TEST_F(Rebase, MakesTheCommitsThatGitMakes) {
  diverge();
  const fs::path expected = sandbox_.root() / "copy";
  fs::copy(repo_, expected, fs::copy_options::recursive);
  git(expected, {"-c", "user.name=Rebaser", "rebase", "--quiet", "main"});
  EXPECT_EQ(rebase(), "0 NOTE: Rebase successful.\n$");
  EXPECT_EQ(state(), "## topic: three two one main base");
  const std::vector<std::string> log = {"log", "--format=%T %an %ae %ad %cn %B", "topic"};
  EXPECT_EQ(git(repo_, log), git(expected, log));
  EXPECT_EQ(git(repo_, {"log", "-1", "--format=%ce", "topic"}), "rebase@example.org");
}

// With a resolution that is only staged, or none, CONTINUE drops what is left without an error:
// users must commit first. The name of HEAD's branch is what a rebase from a branch leaves.
TEST_F(Rebase, ThatConflictsGoesOnAsTheUserSays) {
  diverge(true);
  EXPECT_PRED2(starts_with, rebase(),
               "-1 ERROR: An error occured while rebasing commit [" + two_ +
                   "]. Check for conflicts.\nERROR: Your options are to abort the rebase or skip "
                   "this commit and finish the rebase.\nERROR: Return code from GIT is (");
  EXPECT_PRED2(starts_with, rebase(), kGivenUp) << "one is in progress";
  EXPECT_EQ(operate("restart"),
            "unchanged ERROR: RESTART is an invalid operation. SKIP, CONTINUE, FINISH or ABORT are "
            "valid operations.\n$");
  EXPECT_EQ(state(), "## HEAD (no branch)\nUU file: one main base (rebasing)");
  const fs::path stopped = sandbox_.root() / "stopped";
  fs::rename(repo_, stopped);
  enum Preparation { kNone, kOnBranch, kStaged, kCommitted };
  const std::string finished = "0 NOTE: Rebase finished.\n$",
                    aborted = "0 NOTE: Rebase aborted.\n$";
  const std::tuple<const char*, Preparation, std::string, const char*> rows[] = {
      {"skip", kNone, finished, "## topic: three one main base"},
      {"CONTINUE", kCommitted, finished, "## topic: three two one main base"},
      {"Continue", kStaged, finished, "## topic\nM  file: one main base"},
      {"CONTINUE", kNone, finished, "## topic\nUU file: one main base"},
      {"Finish  ", kCommitted, finished, "## topic: two one main base"},
      {"ABORT", kCommitted, aborted, "## topic: three two one base"},
      {"ABORT", kOnBranch, aborted, "## topic: three two one base"},
  };
  for (const auto& [word, preparation, answer, state_after] : rows) {
    fs::remove_all(repo_);
    fs::copy(stopped, repo_, fs::copy_options::recursive);
    if (preparation >= kStaged) {
      write_file(repo_ / "file", "resolved\n");
      git(repo_, {"add", "file"});
    }
    if (preparation == kCommitted) git(repo_, {"commit", "--quiet", "--message", "two"});
    if (preparation == kOnBranch) {
      write_file(repo_ / ".git/rebase-merge/head-name", "refs/heads/topic\n");
    }
    EXPECT_EQ(operate(word), answer);
    EXPECT_EQ(state(), state_after) << word << " " << preparation;
  }
  fs::remove_all(repo_);
  fs::rename(stopped, repo_);
  EXPECT_EQ(operate("ABORT", "nothing"),
            "-1 NOTE: Rebase aborted.\n"
            "ERROR: Return code from GIT is (4). reference 'refs/heads/nothing' not found\n$");
  EXPECT_EQ(state(), "## HEAD (no branch): three two one base");
  EXPECT_PRED2(starts_with, operate("CONTINUE"), "-1 ERROR: Return code from GIT is (");
}

// From elsewhere, undoing an attempt would take the files to topic, over what is in the way.
TEST_F(Rebase, RefusesWhatItCannotStartAndSparesFilesInTheWay) {
  diverge();
  const std::string error = "-1 ERROR: Return code from GIT is (";
  EXPECT_PRED2(starts_with, rebase("topic", main_, "R"), error);
  EXPECT_PRED2(starts_with, rebase(topic_, main_.substr(0, 12), "R"), error);
  EXPECT_PRED2(starts_with, rebase(topic_, std::string(40, '1'), "R"), error);
  EXPECT_PRED2(starts_with, rebase(topic_, main_, ""), error);
  write_file(repo_ / "a", "mine\n");
  EXPECT_EQ(rebase(), std::string(kGivenUp) +
                          "Return code from GIT is (29). unstaged changes exist in workdir\n$");
  EXPECT_EQ(state(), "## topic\n M a: three two one base");
  git(repo_, {"switch", "--quiet", "--force", "main"});
  write_file(repo_ / "a", "mine\n");
  EXPECT_EQ(
      rebase(),
      "-1 ERROR: The rebase stays in progress: undoing it would overwrite local files. Move them "
      "away, then abort the rebase.\n"
      "ERROR: Return code from GIT is (20). 1 conflict prevents checkout\n$");
  EXPECT_EQ(read_file(repo_ / "a"), "mine\n");
  EXPECT_EQ(state(), "## HEAD (no branch)\n?? a: three two main base (rebasing)");
  EXPECT_EQ(rebase(),
            std::string(kGivenUp) +
                "Return code from GIT is (29). there is an existing rebase in progress\n$");
}

TEST_F(Rebase, MovesTheBranchThatHeadIsOnAndFailsInTheEndWithoutOne) {
  diverge();
  git(repo_, {"checkout", "--quiet", "--detach"});
  EXPECT_PRED2(starts_with, rebase(), "-1 ERROR: ");
  EXPECT_EQ(state(), "## HEAD (no branch): three two one main base");
  git(repo_, {"switch", "--quiet", "main"});
  write_file(repo_ / ".git/refs/heads/main.lock", "");
  EXPECT_PRED2(starts_with, rebase(), "-1 ERROR: ");
  EXPECT_EQ(git(repo_, {"rev-parse", "main"}), main_);
  fs::remove(repo_ / ".git/refs/heads/main.lock");
  git(repo_, {"switch", "--quiet", "main"});
  EXPECT_PRED2(starts_with, rebase(), "0 ");
  EXPECT_EQ(state(), "## main: three two one main base");
  EXPECT_EQ(git(repo_, {"rev-parse", "topic"}), topic_);
  EXPECT_PRED2(starts_with, rebase(main_, main_, "R"), "0 ");
  EXPECT_EQ(state(), "## main: main base") << "without a commit of its own it is the onto commit";
}

// What is in the way is a file that one commit of the branch makes and a later one removes again.
TEST_F(Rebase, GivesUpAfterAHundredRepeatsAndUndoesThem) {
  main_ = commit("file", "base\n", "base");
  commit("passing", "x", "one");
  fs::remove(repo_ / "passing");
  topic_ = commit("d", "2\n", "two");
  write_file(repo_ / "passing", "mine\n");
  asked_for_next = 0;
  host_.modules().set_lookup_hook([](std::string_view asked, void* found) {
    if (asked != "git_rebase_next") return found;
    real_next = reinterpret_cast<decltype(real_next)>(found);
    return reinterpret_cast<void*>(never_end);
  });
  const std::string answer = rebase();
  EXPECT_PRED2(starts_with, answer, kGivenUp);
  EXPECT_EQ(std::count(answer.begin(), answer.end(), '\n'), 2) << answer;
  EXPECT_EQ(asked_for_next, 101 * 3) << "each attempt asks once more than it has operations";
  EXPECT_EQ(read_file(repo_ / "passing"), "mine\n");
  EXPECT_EQ(state(), "## main\n?? passing: two one base");
}

TEST_F(Rebase, ReportsAnyMissingFunction) {
  diverge();
  for (const char* function :
       {"git_oid_fromstrp", "git_annotated_commit_lookup", "git_signature_now",
        "git_reference_lookup", "git_rebase_init", "git_rebase_operation_entrycount",
        "git_rebase_next", "git_rebase_commit", "git_rebase_finish"}) {
    hide_function(function);
    EXPECT_PRED2(starts_with, rebase(), "-1 ERROR: ") << function;
    hide_function("");
    operate("ABORT");
    EXPECT_EQ(state(), "## topic: three two one base") << function;
  }
  const std::pair<const char*, const char*> rows[] = {
      {"SKIP", "git_repository_open"},   {"SKIP", "git_rebase_open"},
      {"SKIP", "git_signature_now"},     {"SKIP", "git_checkout_head"},
      {"ABORT", "git_reference_lookup"}, {"ABORT", "git_oid_fmt"},
      {"ABORT", "git_oid_fromstrp"},     {"ABORT", "git_reference_create"}};
  for (const auto& [word, function] : rows) {
    hide_function("git_rebase_commit");
    rebase();
    hide_function(function);
    const char* aborted = *word == 'A' ? "-1 NOTE: Rebase aborted.\nERROR: " : "-1 ERROR: ";
    EXPECT_PRED2(starts_with, operate(word), aborted) << function;
  }
}

}  // namespace
}  // namespace uwugit::test
