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
  std::string commit(const Files& files, const std::string& message = "change") {
    for (const auto& [name, content] : files) {
      content.empty() ? (void)fs::remove(repo_ / name) : write_file(repo_ / name, content);
    }
    return commit_all(repo_, message);
  }

  // A base, then one commit on each of two branches; HEAD is on main.
  void diverge(const Files& base, const Files& ours, const Files& theirs,
               const std::string& topic = "topic") {
    commit(base, "base");
    git(repo_, {"switch", "--quiet", "--create", topic});
    commit(theirs, "theirs");
    git(repo_, {"switch", "--quiet", "main"});
    if (!ours.empty()) commit(ours, "ours");
  }

  std::string merge(const std::string& branch = "topic") {
    return code("merge_branch", repo_, branch, "Merger", "merge@example.org");
  }

  // A copy of the repository in which git merges the branch.
  fs::path merged_by_git(const std::string& branch = "topic") {
    const fs::path copy = sandbox_.root() / "copy";
    fs::remove_all(copy);
    fs::copy(repo_, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    runner::run({"git", "-C", copy.string(), "merge", "--quiet", "--no-ff", "-m", "merge", branch});
    return copy;
  }

  std::string id(const std::string& name) { return git(repo_, {"rev-parse", name}); }
  // Where HEAD is, what has changed, and whether a merge is in progress.
  std::string state() {
    return git(repo_, {"status", "--porcelain", "--branch"}) + "\n" + id("HEAD") +
           (fs::exists(repo_ / ".git/MERGE_HEAD") ? " (merging)" : "");
  }

  fs::path repo_ = sandbox_.new_repository();
};

TEST_F(Merge, OfTwoSidesMakesTheCommitThatGitMakes) {
  const std::string text = "one\ntwo\nthree\nfour\nfive\nsix\nseven\n";
  diverge(
      {{"both", text}, {"gone", "x"}, {"old-name", text + text}, {"dir/kept", "kept"}},
      {{"both", "ONE\n" + text.substr(4)}, {"ours", "ours"}, {"old-name", "zero\n" + text + text}},
      {{"both", text + "eight\n"}, {"gone", ""}, {"old-name", ""}, {"new-name", text + text}},
      "feature/ветка");
  const std::string parents = id("HEAD") + " " + id("feature/ветка");
  const fs::path expected = merged_by_git("feature/ветка");
  EXPECT_EQ(merge("feature/ветка"), "0");
  EXPECT_EQ(logged(), "NOTE: Merge 'feature/ветка' into current branch 'main' successful.\n");
  EXPECT_EQ(id("HEAD^{tree}"), git(expected, {"rev-parse", "HEAD^{tree}"}));
  EXPECT_EQ(git(repo_, {"log", "-1", "--format=%P|%an|%ae|%cn|%ce|%B", "HEAD"}),
            parents +
                "|Merger|merge@example.org|Merger|merge@example.org|"
                "Merge 'feature/ветка' into branch main");
  EXPECT_EQ(state(), "## main\n" + id("HEAD"));
  EXPECT_EQ(merge("feature/ветка"), "1");
  EXPECT_EQ(logged(), "NOTE: Repository is already up-to-date.\n");
}

TEST_F(Merge, OfCrissCrossHistoriesIsTheOneThatGitMakes) {
  const std::string text = "1\n2\n3\n4\n5\n6\n7\n8\n9\n";
  diverge({{"file", text}}, {{"file", "one\n" + text.substr(2)}},
          {{"file", text.substr(0, 16) + "nine\n"}});
  git(repo_, {"branch", "main-1"});
  git(repo_, {"merge", "--quiet", "-m", "x", "topic"});
  git(repo_, {"switch", "--quiet", "topic"});
  git(repo_, {"merge", "--quiet", "-m", "y", "main-1"});
  commit({{"their-file", "theirs"}});
  git(repo_, {"switch", "--quiet", "main"});
  commit({{"our-file", "ours"}});
  const fs::path expected = merged_by_git();
  EXPECT_EQ(merge(), "0");
  EXPECT_EQ(id("HEAD^{tree}"), git(expected, {"rev-parse", "HEAD^{tree}"}));
}

// The merge comes first and brings the files up to date; the fast-forward alone would not.
TEST_F(Merge, FastForwardsAfterAMergeAndLeavesTheReturnCodeAlone) {
  diverge({{"file", "base\n"}}, {}, {{"file", "theirs\n"}, {"new", "new\n"}});
  const std::string before = state();
  hide_function("git_merge");
  EXPECT_EQ(merge(), "-3");
  EXPECT_EQ(state(), before);
  hide_function("");
  logged();
  EXPECT_EQ(merge(), "unchanged");
  EXPECT_EQ(logged(), "NOTE: Head has successfully been fastforwarded.\n");
  EXPECT_EQ(state(), "## main\n" + id("topic"));
  EXPECT_EQ(read_file(repo_ / "file"), "theirs\n");
}

TEST_F(Merge, TellsEveryConflictAndLeavesTheThreeStages) {
  diverge({{"changed", "base\n"}, {"gone-here", "base\n"}, {"gone-there", "base\n"}, {"fine", "x"}},
          {{"changed", "ours\n"}, {"added", "ours\n"}, {"gone-here", ""}, {"gone-there", "ours\n"}},
          {{"changed", "theirs\n"},
           {"added", "theirs\n"},
           {"gone-here", "theirs\n"},
           {"gone-there", ""},
           {"fine", "theirs\n"}});
  const std::string before = id("HEAD");
  const fs::path expected = merged_by_git();
  EXPECT_EQ(merge(), "-2");
  EXPECT_EQ(logged(),
            "NOTE: Conflict in file: added\nNOTE: Conflict in file: changed\n"
            "NOTE: Conflict in file: gone-here\nNOTE: Conflict in file: gone-there\n");
  EXPECT_EQ(git(repo_, {"ls-files", "--stage"}), git(expected, {"ls-files", "--stage"}));
  EXPECT_EQ(read_file(repo_ / "changed"), "<<<<<<< main\nours\n=======\ntheirs\n>>>>>>> topic\n");
  EXPECT_EQ(read_file(repo_ / "gone-there"), "ours\n");
  EXPECT_EQ(read_file(repo_ / "gone-here"), "theirs\n");
  EXPECT_TRUE(state().ends_with("\n" + before));
}

// The ancestor is shown where the user's configuration asks for it.
TEST_F(Merge, LabelsTheSidesOfAConflictAndTellsRenames) {
  const std::string text = "a text that is long enough to be found again by its content\n";
  diverge({{"file", "base\n"}, {"old", text}},
          {{"file", "ours\n"}, {"old", ""}, {"our-name", text}},
          {{"file", "theirs\n"}, {"old", ""}, {"their-name", text}});
  git(repo_, {"config", "merge.conflictStyle", "diff3"});
  EXPECT_EQ(merge(), "-2");
  EXPECT_EQ(read_file(repo_ / "file"),
            "<<<<<<< main\nours\n||||||| Ancestor\nbase\n=======\ntheirs\n>>>>>>> topic\n");
  EXPECT_EQ(logged(),
            "NOTE: Conflict in file: file\nNOTE: Conflict in file: old\n"
            "NOTE: Conflict in file: our-name\nNOTE: Conflict in file: their-name\n");
}

TEST_F(Merge, RefusesToOverwriteTheUsersWork) {
  diverge({{"file", "base\n"}, {"quiet", "base\n"}}, {{"ours", "x"}},
          {{"file", "theirs\n"}, {"new", "theirs\n"}});
  for (const char* work : {"file", "new"}) {
    write_file(repo_ / work, "mine\n");
    const std::string before = state();
    EXPECT_EQ(merge(), "-3");
    EXPECT_EQ(logged(),
              "ERROR: Return code from GIT is (22). 1 uncommitted change would be overwritten by "
              "merge\n");
    EXPECT_EQ(read_file(repo_ / work), "mine\n");
    EXPECT_EQ(state(), before);
    git(repo_, {"reset", "--quiet", "--hard"});
    fs::remove(repo_ / "new");
  }
  write_file(repo_ / "quiet", "mine\n");
  EXPECT_EQ(merge(), "0");
  EXPECT_EQ(state(), "## main\n M quiet\n" + id("HEAD"));
}

TEST_F(Merge, TakesBranchesByKind) {
  diverge({{"file", "base\n"}}, {{"ours", "x"}}, {{"file", "theirs\n"}});
  git(repo_, {"update-ref", "refs/remotes/origin/topic", "topic"});
  EXPECT_EQ(merge("origin/topic"), "-1");
  EXPECT_EQ(logged(),
            "ERROR: Return code from GIT is (4). reference 'refs/heads/origin/topic' not found\n");
  EXPECT_EQ(code("merge_branch", repo_, "topic", "M", "m@example.org", 1), "-1");
  EXPECT_EQ(code("merge_branch", repo_, "origin/topic", "M", "m@example.org", 1), "0");
  EXPECT_EQ(git(repo_, {"log", "-1", "--format=%s"}), "Merge 'origin/topic' into branch main");
}

TEST_F(Merge, NeedsHeadOnABranchWithACommitThatCanMove) {
  EXPECT_EQ(merge(), "unchanged") << "no commit yet";
  EXPECT_EQ(logged(),
            "ERROR: Return code from GIT is (4). reference 'refs/heads/main' not found\n");
  diverge({{"file", "base\n"}}, {{"ours", "x"}}, {{"file", "theirs\n"}});
  git(repo_, {"checkout", "--quiet", "--detach"});
  const std::string head = id("HEAD");
  EXPECT_EQ(merge(), "unchanged") << "no branch";
  EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is ("));
  EXPECT_EQ(state(), "## HEAD (no branch)\n" + head);
  git(repo_, {"switch", "--quiet", "main"});
  write_file(repo_ / ".git/refs/heads/main.lock", "");
  EXPECT_EQ(merge(), "-1");
  EXPECT_TRUE(logged().starts_with("ERROR: Return code from GIT is ("));
  EXPECT_EQ(state(), "## main\nM  file\n" + head) << "the merge stays staged";
}

// libgit2 gives some of these values only together with others; the value counts as a whole.
TEST_F(Merge, GoesByTheExactAnalysis) {
  diverge({{"file", "base\n"}}, {}, {{"file", "theirs\n"}});
  const std::string base = id("HEAD");
  const struct {
    int analysis;
    const char *code, *log;
  } rows[] = {
      {8, "-1",
       "NOTE: The HEAD of the current repository is \"unborn\" and does not point to a valid "
       "commit.\n"},
      {12, "unchanged", ""},
      {0, "unchanged", ""},
      {2, "1", "NOTE: Repository is already up-to-date.\n"},
      {4, "unchanged", "NOTE: Head has successfully been fastforwarded.\n"},
  };
  replace_function("git_merge_analysis", reinterpret_cast<void*>(answer_analysis));
  for (const auto& row : rows) {
    EXPECT_EQ(id("main"), base) << row.analysis;
    analysis_to_answer = static_cast<git_merge_analysis_t>(row.analysis);
    write_file(repo_ / ".git/MERGE_HEAD", base + "\n");
    EXPECT_EQ(merge(), row.code) << row.analysis;
    EXPECT_EQ(logged(), row.log) << row.analysis;
    EXPECT_FALSE(fs::exists(repo_ / ".git/MERGE_HEAD")) << row.analysis;
  }
  EXPECT_EQ(id("main"), id("topic"));
}

TEST_F(Merge, ReportsAnyMissingFunction) {
  diverge({{"file", "base\n"}}, {{"ours", "x"}}, {{"file", "theirs\n"}});
  git(repo_, {"switch", "--quiet", "--create", "ahead"});
  commit({{"ahead", "x"}});
  git(repo_, {"switch", "--quiet", "main"});
  const std::string main = id("main");
  const struct {
    const char *branch, *code;
    std::vector<const char*> functions;
  } rows[] = {
      {"topic",
       "unchanged",
       {"git_repository_head", "git_branch_name", "git_merge_analysis", "git_repository_index",
        "git_index_has_conflicts"}},
      {"topic",
       "-1",
       {"git_repository_open", "git_reference_lookup", "git_annotated_commit_id",
        "git_annotated_commit_from_ref", "git_reference_dwim", "git_signature_now",
        "git_reference_peel", "git_index_write_tree", "git_tree_lookup", "git_reference_name",
        "git_commit_create"}},
      {"topic", "-3", {"git_merge"}},
      {"ahead",
       "unchanged",
       {"git_commit_lookup", "git_reference_symbolic_target", "git_reference_create",
        "git_checkout_tree", "git_reference_set_target"}},
  };
  for (const auto& row : rows) {
    for (const char* function : row.functions) {
      git(repo_, {"reset", "--quiet", "--hard", main});
      hide_function(function);
      EXPECT_EQ(merge(row.branch), row.code) << function;
      EXPECT_TRUE(logged().starts_with("ERROR: ")) << function;
    }
  }
  git(repo_, {"reset", "--quiet", "--hard", main});
  hide_function("git_repository_state_cleanup");
  EXPECT_EQ(merge(), "0");
}

}  // namespace
}  // namespace uwugit::test
