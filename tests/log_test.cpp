// The history of real repositories, checked with git.
#include <git2.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "store/log_objects.h"
#include "support/leaks.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

using Words = std::vector<std::string>;

Words split(const std::string& text, char separator) {
  Words words;
  std::istringstream stream(text);
  for (std::string word; std::getline(stream, word, separator);) words.push_back(word);
  return words;
}

class Log : public ModuleTest {
 protected:
  fs::path repo_ = sandbox_.new_repository();

  std::string attribute(int number, std::string_view name) {
    return output("get_commit_attribute", number, repo_, name);
  }

  // A commit whose time is its own, so that the order of the history is certain.
  std::string commit_at(int time, const Words& arguments = {}) {
    const std::string date = std::to_string(1'700'000'000 + time) + " +0130";
    setenv("GIT_COMMITTER_DATE", date.c_str(), 1);
    Words words = {"commit", "--quiet", "--allow-empty", "--message", "at " + std::to_string(time)};
    words.insert(words.end(), arguments.begin(), arguments.end());
    git(repo_, words);
    unsetenv("GIT_COMMITTER_DATE");
    return git(repo_, {"rev-parse", "HEAD"});
  }

  // The whole log against what git says. Its date order, no parent before all its children and else
  // the newest first, is that of a log; no two commits have the same time unless one is the parent.
  void expect_the_log_that_git_shows(const std::string& stash = "") {
    Words command = {"log", "-z", "--date-order", "--branches", "--remotes", "--tags", "HEAD"};
    command.push_back("--format=%H%x01%an%x01%ae%x01%cn%x01%ce%x01          %ct%x01%P%x01%B");
    if (!stash.empty()) command.push_back(stash);
    const Words expected = split(git(repo_, command), '\0');
    const Words ancestors = split(git(repo_, {"rev-list", "HEAD"}), '\n');
    const std::set<std::string> in_branch(ancestors.begin(), ancestors.end());
    ASSERT_EQ(code("get_commit_log", repo_), std::to_string(expected.size()));
    std::map<std::string, std::string> children;
    for (int i = 0; i < static_cast<int>(expected.size()); ++i) {
      Words theirs = split(expected[static_cast<std::size_t>(i)], '\1');
      const std::string id = theirs[0];
      for (const std::string& parent : split(theirs[6], ' ')) {
        children[parent] += (children[parent].empty() ? "" : ",") + id;
      }
      std::replace(theirs[6].begin(), theirs[6].end(), ' ', ',');
      theirs.push_back(children[id]);
      theirs.push_back(id == stash ? "TRUE" : "FALSE");
      theirs.push_back(in_branch.contains(id) ? "TRUE" : "FALSE");
      Words ours;
      for (const char* name :
           {"ID", "AUTHOR", "EMAIL", "COMMITTER", "COMMITTER_EMAIL", "TIME", "PARENT_IDS",
            "MESSAGE", "CHILDREN_IDS", "STASH", "IN_CURRENT_BRANCH"}) {
        ours.push_back(attribute(i + 1, name));
      }
      EXPECT_EQ(ours, theirs) << "commit " << i + 1;
    }
  }
};

TEST_F(Log, TellsWhatGitTells) {
  const std::string root = commit_at(0, {"--author", "Än Äuthor <an@äuthor.example>"});
  int time = 10;
  for (const char* branch : {"left", "right", "third"}) {
    git(repo_, {"switch", "--quiet", "--create", branch, root});
    commit_at(time += 20,
              {"--message", "more\n\n\"lines\" of %s\n\ttext, " + std::string(3000, 'x')});
    commit_at(time += 20);
  }
  git(repo_, {"switch", "--quiet", "main"});
  commit_at(55);
  git(repo_, {"merge", "--quiet", "--no-edit", "--no-ff", "left"});
  git(repo_, {"merge", "--quiet", "--no-edit", "--no-ff", "right", "third"});
  git(repo_, {"tag", "light", "third"});
  git(repo_, {"switch", "--quiet", "--detach", "left"});
  commit_at(45);  // older than its parent
  git(repo_, {"tag", "--annotate", "--message", "t", "annotated"});
  commit_at(300);
  git(repo_, {"update-ref", "refs/remotes/origin/topic", "HEAD"});
  git(repo_, {"switch", "--quiet", "main"});
  write_file(repo_ / "file", "staged");
  git(repo_, {"add", "file"});
  git(repo_, {"tag", "of-a-file", ":file"});
  git(repo_, {"stash"});
  expect_the_log_that_git_shows(git(repo_, {"rev-parse", "refs/stash"}));
  git(repo_, {"stash", "drop", "--quiet"});
  git(repo_, {"switch", "--quiet", "--detach", root});
  expect_the_log_that_git_shows();
  EXPECT_EQ(logged(), "");
}

// All tips are newer than all their parents, so that thousands of parents wait at the same time;
// and one commit has thousands of children.
TEST_F(Log, HoldsAsManyBranchesAsThereAre) {
  constexpr int kBranches = 1'700;
  std::ostringstream stream;
  const auto commit = [&](int mark, int branch, int from) {
    stream << "commit refs/heads/b" << branch << "\nmark :" << mark
           << "\ncommitter A <a@example.org> " << 1'000'000'000 + mark << " +0000\ndata 4\ntext\n";
    if (from > 0) stream << "from :" << from << "\n";
  };
  commit(1, 0, 0);
  for (int i = 0; i < kBranches; ++i) commit(2 + i, i, 1);
  for (int i = 0; i < kBranches; ++i) commit(2 + kBranches + i, i, 2 + i);
  write_file(repo_ / "stream", stream.str());
  git(repo_, {"-c", "alias.load=!git fast-import --quiet < stream", "load"});
  git(repo_, {"switch", "--quiet", "--detach", "b7"});
  expect_the_log_that_git_shows();
}

// The variable as the module leaves it.
TEST_F(Log, FillsTheWholeVariable) {
  const std::string id = commit_at(0);
  ASSERT_EQ(code("get_commit_log", repo_), "1");
  const std::tuple<double, std::size_t, const char*, std::string> rows[] = {
      {1, 44, "ID", id + "    "},
      {1, 7, "id ", id.substr(0, 7)},
      {1.9, 8, "Author  ", "Test    "},
      {1, 22, "TIME", "          1700000000  "},
      {1, 2, "IDS", "  "},
      {0, 2, "ID", "??"},
      {2, 2, "ID", "??"},
  };
  for (const auto& [number, capacity, name, expected] : rows) {
    host::Arguments arguments;
    arguments.number(number).text(repo_.string()).text(name).output(capacity);
    HostString& variable = arguments.string(3);
    std::fill_n(variable.characters, capacity, '?');
    variable.length = static_cast<std::int64_t>(capacity);
    const host::CallResult result =
        host_.call(module_.find("get_commit_attribute"), arguments.block());
    EXPECT_TRUE(result.is_unchanged && result.returned == 0) << name;
    EXPECT_EQ(arguments.output_text(3), expected) << number << " " << name;
  }
  EXPECT_EQ(logged(), "");
}

TEST_F(Log, IsKeptUntilItIsFreedOrReplaced) {
  const std::string first = commit_at(0);
  const fs::path other = sandbox_.new_repository("other");
  commit_all(other, "other");
  for (const fs::path& repo : {repo_, other}) EXPECT_EQ(code("get_commit_log", repo), "1");
  EXPECT_EQ(attribute(1, "ID"), first);
  const std::string second = commit_at(1);
  EXPECT_EQ(code("get_commit_log", repo_), "2");
  EXPECT_EQ(output("get_commit_attribute", 1, repo_.string() + "  ", "ID"), second);
  EXPECT_EQ(output("get_commit_attribute", 1, other, "MESSAGE"), "other\n");

  git(repo_, {"symbolic-ref", "HEAD", "refs/heads/not-born"});
  EXPECT_EQ(answer("get_commit_log", repo_),
            "-1 ERROR: Return code from GIT is (4). reference 'refs/heads/not-born' not found\n$");
  fs::remove(repo_ / ".git" / "HEAD");
  EXPECT_EQ(
      answer("get_commit_log", repo_),
      "-1 ERROR: An error occurred while opening local repository '" + repo_.string() + "'.\n$");
  EXPECT_EQ(attribute(2, "ID"), first) << "the earlier log stays";

  for (const fs::path& repo : {repo_, repo_, other}) {
    EXPECT_EQ(answer("free_commit_objects", repo),
              "0 NOTE: " + repo.string() + " commit objects freed successfully.\n$");
  }
  EXPECT_EQ(host_.pools().counters().pools, 0u);
  EXPECT_EQ(answer("get_commit_attribute", 1, repo_, "ID"),
            "unchanged ERROR: Could not find any commit objects. Run GITFN_COMMIT_LOG on your repo "
            "prior to obtaining commit objects.\n$");
}

// The libgit2 functions that get_commit_log looks up, missing.
TEST_F(Log, NeedsEveryFunctionOfTheWalk) {
  const std::string id = commit_at(0);
  ASSERT_EQ(code("get_commit_log", repo_), "1");
  const std::string needed = "-1 ERROR: No detailed error info available.\n$";
  const std::pair<std::string, std::string> rows[] = {
      {needed, "git_revwalk_new git_revwalk_sorting git_revwalk_push_head git_revwalk_push_glob"},
      {needed, "git_repository_head git_revwalk_next git_oid_fmt git_commit_lookup"},
      {needed, "git_commit_message git_commit_author git_commit_time git_commit_parentcount"},
      {"unchanged$", "git_libgit2_init"},
      {"1$", "git_commit_free git_reference_free git_revwalk_free git_repository_free"},
  };
  for (const auto& [expected, functions] : rows) {
    for (const std::string& function : split(functions, ' ')) {
      const LeaksOnPurpose leaks;
      hide_function(function);
      EXPECT_EQ(answer("get_commit_log", repo_), expected) << function;
      EXPECT_EQ(attribute(1, "ID"), id) << function << ": a log is there in any case";
    }
  }
}

TEST_F(Log, PassesOverACommitThatCannotBeLookedUp) {
  const std::string root = commit_at(0);
  const std::string lost = commit_at(1);
  const std::string tip = commit_at(2);
  static decltype(&git_commit_lookup) look_up;
  static int calls;
  calls = 0;
  host_.modules().set_lookup_hook([](std::string_view asked, void* found) {
    if (asked != "git_commit_lookup") return found;
    look_up = reinterpret_cast<decltype(look_up)>(found);
    const decltype(look_up) fails_once = [](auto** commit, auto* repo, const auto* oid) {
      return ++calls == 2 ? -1 : look_up(commit, repo, oid);
    };
    return reinterpret_cast<void*>(fails_once);
  });
  EXPECT_PRED2(starts_with, answer("get_commit_log", repo_), "2 ERROR: ");
  EXPECT_EQ(attribute(1, "ID") + attribute(1, "PARENT_IDS"), tip + lost);
  EXPECT_EQ(attribute(2, "ID") + attribute(2, "CHILDREN_IDS"), root);

  // What libgit2 does with a history that is cut off differs by version; it is never an error. (1.5
  // loses the list that it was making.)
  const LeaksOnPurpose leaks;
  const fs::path shallow = sandbox_.root() / "shallow";
  git(repo_, {"clone", "--quiet", "--depth=2", "file://" + repo_.string(), shallow.string()});
  EXPECT_LE(std::abs(call("get_commit_log", shallow).result.code - 1), 1) << "0 to 2 commits";
}

TEST(LogObjects, AreTakenOutOfTheListAlsoWhenTheirPoolStays) {
  host::PoolService pools;
  RepoLog* last = insertRepoLogAtTail(pools.create("last"), "last  ");
  RepoLog* first = insertRepoLogAtHead(pools.create("first"), "first");
  first->pool->destroy = [](HostPool*) { return -1; };
  EXPECT_TRUE(free_repo_log("first") == 1 && headLogObject == last);
  EXPECT_TRUE(free_repo_log("last") == 0 && !headLogObject);
}

}  // namespace
}  // namespace uwugit::test
