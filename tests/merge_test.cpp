// Merges in real repositories, checked with git's own.
#include <git2.h>

#include "process.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

git_merge_analysis_t analysis_to_answer;
int answer_analysis(git_merge_analysis_t* analysis, git_merge_preference_t*, git_repository*,
                    const git_annotated_commit**, size_t) {
  *analysis = analysis_to_answer;
  return 0;
}

class Merge : public ModuleTest {
 protected:
  // Writes the files (an empty content removes one) and commits.
  void commit(const Files& files) {
    for (const auto& [name, content] : files) {
      content.empty() ? (void)fs::remove(repo_ / name) : write_file(repo_ / name, content);
    }
    commit_all(repo_, "change");
  }

  // A base, then one commit on each of two branches; HEAD is on main.
  void diverge(const Files& base, const Files& ours, const Files& theirs) {
    commit(base);
    git(repo_, {"switch", "--quiet", "--create", "topic"});
    commit(theirs);
    git(repo_, {"switch", "--quiet", "main"});
    if (!ours.empty()) commit(ours);
  }

  std::string merge(const std::string& branch = "topic", int is_remote = 0) {
    return answer("merge_branch", repo_, branch, "Merger", "merge@example.org", is_remote);
  }

  // A copy of the repository in which git merges the branch.
  fs::path merged_by_git(const std::string& branch) {
    const fs::path copy = sandbox_.root() / "copy";
    fs::remove_all(copy);
    fs::copy(repo_, copy, fs::copy_options::recursive);
    runner::run({"git", "-C", copy.string(), "merge", "--quiet", "--no-ff", "-m", "merge", branch});
    return copy;
  }
  void expect_merge_as_by_git(const std::string& branch) {
    const fs::path expected = merged_by_git(branch);
    EXPECT_EQ(merge(branch),
              "0 NOTE: Merge '" + branch + "' into current branch 'main' successful.\n$");
    EXPECT_EQ(id("HEAD^{tree}"), git(expected, {"rev-parse", "HEAD^{tree}"}));
    EXPECT_EQ(state(), "## main\n" + id("HEAD"));
  }

  std::string id(const std::string& name) { return git(repo_, {"rev-parse", name}); }
  // Where HEAD is, what has changed, and whether a merge is in progress.
  std::string state() {
    return git(repo_, {"status", "--porcelain", "--branch"}) + "\n" + id("HEAD") +
           (fs::exists(repo_ / ".git/MERGE_HEAD") ? " (merging)" : "");
  }

  fs::path repo_ = sandbox_.new_repository();
};

TEST_F(Merge, MakesTheCommitThatGitMakesAlsoOfCrissCrossHistories) {
  const std::string text = "one\ntwo\nthree\nfour\nfive\nsix\nseven\n";
  diverge(
      {{"both", text}, {"gone", "x"}, {"old-name", text + text}, {"dir/kept", "kept"}},
      {{"both", "ONE\n" + text.substr(4)}, {"ours", "ours"}, {"old-name", "zero\n" + text + text}},
      {{"both", text + "eight\n"}, {"gone", ""}, {"old-name", ""}, {"new-name", text + text}});
  git(repo_, {"branch", "--move", "topic", "feature/ветка"});
  git(repo_, {"branch", "before"});
  const std::string parents = id("HEAD") + " " + id("feature/ветка");
  expect_merge_as_by_git("feature/ветка");
  EXPECT_EQ(git(repo_, {"log", "-1", "--format=%P|%an|%ae|%cn|%ce|%B", "HEAD"}),
            parents +
                "|Merger|merge@example.org|Merger|merge@example.org|"
                "Merge 'feature/ветка' into branch main");
  EXPECT_EQ(merge("feature/ветка"), "1 NOTE: Repository is already up-to-date.\n$");

  commit({{"our-file", "ours"}});
  git(repo_, {"switch", "--quiet", "feature/ветка"});
  git(repo_, {"merge", "--quiet", "-m", "theirs", "before"});
  commit({{"their-file", "theirs"}});
  git(repo_, {"switch", "--quiet", "main"});
  expect_merge_as_by_git("feature/ветка");
}

// The ancestor is shown where the user's configuration asks for it.
TEST_F(Merge, TellsEveryConflictAndLeavesTheThreeStages) {
  const std::string text = "a text that is long enough to be found again by its content\n";
  diverge({{"changed", "base\n"}, {"gone", "base\n"}, {"old", text}},
          {{"changed", "ours\n"}, {"gone", ""}, {"old", ""}, {"our-name", text}},
          {{"changed", "theirs\n"}, {"gone", "theirs\n"}, {"old", ""}, {"their-name", text}});
  git(repo_, {"config", "merge.conflictStyle", "diff3"});
  const std::string before = id("HEAD");
  const fs::path expected = merged_by_git("topic");
  EXPECT_EQ(merge(),
            "-2 NOTE: Conflict in file: changed\nNOTE: Conflict in file: gone\n"
            "NOTE: Conflict in file: old\nNOTE: Conflict in file: our-name\n"
            "NOTE: Conflict in file: their-name\n$");
  EXPECT_EQ(git(repo_, {"ls-files", "--stage"}),
            "ignoring NAME extension\n" + git(expected, {"ls-files", "--stage"}));
  EXPECT_EQ(read_file(repo_ / "changed"),
            "<<<<<<< main\nours\n||||||| Ancestor\nbase\n=======\ntheirs\n>>>>>>> topic\n");
  EXPECT_EQ(read_file(repo_ / "gone"), "theirs\n");
  EXPECT_EQ(id("HEAD"), before);
}

TEST_F(Merge, RefusesToOverwriteTheUsersWork) {
  diverge({{"file", "base\n"}, {"quiet", "base\n"}}, {{"ours", "x"}},
          {{"file", "theirs\n"}, {"new", "theirs\n"}});
  for (const char* name : {"file", "new", "quiet"}) write_file(repo_ / name, "mine\n");
  const std::string before = state();
  EXPECT_EQ(merge(),
            "-3 ERROR: Return code from GIT is (22). 2 uncommitted changes would be overwritten by "
            "merge\n$");
  EXPECT_EQ(read_file(repo_ / "file") + read_file(repo_ / "new"), "mine\nmine\n");
  EXPECT_EQ(state(), before);
  git(repo_, {"checkout", "--quiet", "file"});
  fs::remove(repo_ / "new");
  EXPECT_PRED2(starts_with, merge(), "0 NOTE: ");
  EXPECT_EQ(state(), "## main\n M quiet\n" + id("HEAD"));
}

TEST_F(Merge, TakesBranchesByKindIntoABranchWithACommitThatCanMove) {
  const std::string error = " ERROR: Return code from GIT is (";
  EXPECT_EQ(merge(), "unchanged" + error + "4). reference 'refs/heads/main' not found\n$");
  diverge({{"file", "base\n"}}, {{"ours", "x"}}, {{"file", "theirs\n"}});
  const std::string head = id("HEAD");
  git(repo_, {"update-ref", "refs/remotes/origin/topic", "topic"});
  EXPECT_PRED2(starts_with, merge("topic", 1), "-1" + error);
  EXPECT_PRED2(starts_with, merge("origin/topic"), "-1" + error + "4). reference 'refs/heads/ori");
  git(repo_, {"checkout", "--quiet", "--detach"});
  EXPECT_PRED2(starts_with, merge(), "unchanged" + error);
  EXPECT_EQ(state(), "## HEAD (no branch)\n" + head);
  git(repo_, {"switch", "--quiet", "main"});
  write_file(repo_ / ".git/refs/heads/main.lock", "");
  EXPECT_PRED2(starts_with, merge(), "-1" + error);
  EXPECT_EQ(state(), "## main\nM  file\n" + head) << "the merge stays staged";
  fs::remove(repo_ / ".git/refs/heads/main.lock");
  git(repo_, {"reset", "--quiet", "--hard"});
  EXPECT_PRED2(starts_with, merge("origin/topic", 1), "0 NOTE: Merge 'origin/topic' into ");
}

// The merge comes first and brings the files up to date; the fast-forward alone would not. Values
// of the analysis that libgit2 gives only together with others count as a whole.
TEST_F(Merge, FastForwardsAfterAMergeAndGoesByTheExactAnalysis) {
  diverge({{"file", "base\n"}}, {}, {{"file", "theirs\n"}, {"new", "new\n"}});
  const std::string before = state();
  hide_function("git_merge");
  EXPECT_PRED2(starts_with, merge(), "-3 ERROR: ");
  EXPECT_EQ(state(), before);
  replace_function("git_merge_analysis", reinterpret_cast<void*>(answer_analysis));
  for (const int analysis : {8, 12}) {
    analysis_to_answer = static_cast<git_merge_analysis_t>(analysis);
    EXPECT_EQ(merge(), analysis == 12 ? "unchanged$"
                                      : "-1 NOTE: The HEAD of the current repository is "
                                        "\"unborn\" and does not point to a valid commit.\n$");
    EXPECT_FALSE(fs::exists(repo_ / ".git/MERGE_HEAD")) << analysis;
    git(repo_, {"reset", "--quiet", "--hard"});
    EXPECT_EQ(state(), before) << analysis;
  }
  hide_function("");
  EXPECT_EQ(merge(), "unchanged NOTE: Head has successfully been fastforwarded.\n$");
  EXPECT_EQ(state(), "## main\n" + id("topic"));
}

TEST_F(Merge, ReportsAnyMissingFunction) {
  diverge({{"file", "base\n"}}, {{"ours", "x"}}, {{"file", "theirs\n"}});
  git(repo_, {"branch", "start"});
  git(repo_, {"switch", "--quiet", "--create", "ahead"});
  commit({{"ahead", "x"}});
  git(repo_, {"switch", "--quiet", "main"});
  const auto sweep = [&](const char* branch, const char* start,
                         const std::vector<const char*>& functions) {
    for (const char* function : functions) {
      hide_function(function);
      EXPECT_PRED2(starts_with, merge(branch), start) << function;
      git(repo_, {"reset", "--quiet", "--hard", "start"});
    }
  };
  sweep("topic", "unchanged ERROR: ",
        {"git_repository_head", "git_merge_analysis", "git_index_has_conflicts"});
  sweep("topic", "-1 ERROR: ",
        {"git_repository_open", "git_reference_lookup", "git_annotated_commit_from_ref",
         "git_signature_now", "git_reference_peel", "git_index_write_tree", "git_commit_create"});
  sweep("ahead", "unchanged ERROR: ",
        {"git_commit_lookup", "git_reference_symbolic_target", "git_checkout_tree",
         "git_reference_set_target"});
}

}  // namespace
}  // namespace uwugit::test
