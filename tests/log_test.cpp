// The history of real repositories, checked with git.
#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "store/log_objects.h"
#include "support/leaks.h"
#include "support/module_test.h"

struct git_commit;
struct git_repository;

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
      for (const std::string& name :
           split("ID AUTHOR EMAIL COMMITTER COMMITTER_EMAIL TIME PARENT_IDS MESSAGE CHILDREN_IDS "
                 "STASH IN_CURRENT_BRANCH",
                 ' ')) {
        ours.push_back(attribute(i + 1, name));
      }
      EXPECT_EQ(ours, theirs) << "commit " << i + 1;
    }
  }
};

TEST_F(Log, TellsWhatGitTells) {
  const std::string root = commit_at(0, {"--author", "Än Äuthor <an@äuthor.example>"});
  for (const char* branch : {"left", "right", "third"}) git(repo_, {"branch", branch});
  int time = 10;
  for (const char* branch : {"left", "right", "third"}) {
    git(repo_, {"switch", "--quiet", branch});
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
  git(repo_, {"tag", "of-a-file", git(repo_, {"rev-parse", ":file"})});
  git(repo_, {"stash"});
  expect_the_log_that_git_shows(git(repo_, {"rev-parse", "refs/stash"}));
  git(repo_, {"stash", "drop", "--quiet"});
  git(repo_, {"switch", "--quiet", "--detach", root});
  expect_the_log_that_git_shows();
  git(repo_, {"switch", "--quiet", "--detach", "origin/topic"});
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
  git(repo_, {"pack-refs", "--all"});
  expect_the_log_that_git_shows();
}

// The variable as the module leaves it.
TEST_F(Log, FillsTheWholeVariable) {
  const std::string id = commit_at(0);
  ASSERT_EQ(code("get_commit_log", repo_), "1");
  const std::string blanks(50, ' ');
  const std::string untouched(50, '?');
  const struct {
    double number;
    std::size_t capacity;
    const char* name;
    std::string expected;
  } rows[] = {
      {1, 50, "ID", id + std::string(10, ' ')},
      {1, 7, "id ", id.substr(0, 7)},
      {1.9, 8, "Author  ", "Test    "},
      {1, 0, "ID", ""},
      {1, 50, "TIME", "          1700000000" + std::string(30, ' ')},
      {1, 50, "PARENT_IDS", blanks},
      {1, 50, "CHILDREN_IDS", blanks},
      {1, 50, "GRAPH_COLUMN", blanks},
      {1, 50, "IDS", blanks},
      {1, 50, "", blanks},
      {0, 50, "ID", untouched},
      {2, 50, "ID", untouched},
      {-1, 50, "ID", untouched},
      {1e300, 50, "GRAPH_COLUMN", untouched},
  };
  for (const auto& row : rows) {
    host::Arguments arguments;
    arguments.number(row.number).text(repo_.string()).text(row.name).output(row.capacity);
    HostString& variable = arguments.string(3);
    std::fill_n(variable.characters, row.capacity, '?');
    variable.length = static_cast<std::int64_t>(row.capacity);
    const host::CallResult result =
        host_.call(module_.find("get_commit_attribute"), arguments.block());
    EXPECT_TRUE(result.is_unchanged && result.returned == 0) << row.name;
    EXPECT_EQ(arguments.output_text(3), row.expected) << row.number << " " << row.name;
  }
  EXPECT_EQ(logged(), "");
}

TEST_F(Log, IsKeptUntilItIsFreedOrReplaced) {
  const std::string first = commit_at(0);
  const fs::path other = sandbox_.new_repository("other");
  commit_all(other, "other");
  EXPECT_EQ(code("get_commit_log", repo_), "1");
  EXPECT_EQ(code("get_commit_log", other), "1");
  EXPECT_EQ(attribute(1, "ID"), first);
  const std::string second = commit_at(1);
  EXPECT_EQ(code("get_commit_log", repo_), "2");
  EXPECT_EQ(output("get_commit_attribute", 1, repo_.string() + "  ", "ID"), second);
  EXPECT_EQ(output("get_commit_attribute", 1, other, "MESSAGE"), "other\n");

  git(repo_, {"symbolic-ref", "HEAD", "refs/heads/not-born"});
  EXPECT_EQ(code("get_commit_log", repo_), "-1");
  EXPECT_EQ(logged(),
            "ERROR: Return code from GIT is (4). reference 'refs/heads/not-born' not found\n");
  EXPECT_EQ(attribute(2, "ID"), first) << "the earlier log stays";
  fs::remove(repo_ / ".git" / "HEAD");
  EXPECT_EQ(code("get_commit_log", repo_), "-1");
  EXPECT_EQ(logged(),
            "ERROR: An error occurred while opening local repository '" + repo_.string() + "'.\n");
  EXPECT_EQ(attribute(2, "ID"), first);

  for (const fs::path& repo : {repo_, repo_, other}) {
    EXPECT_EQ(code("free_commit_objects", repo), "0");
    EXPECT_EQ(logged(), "NOTE: " + repo.string() + " commit objects freed successfully.\n");
  }
  EXPECT_EQ(host_.pools().counters().pools, 0u);
  const host::Outcome outcome = call("get_commit_attribute", 1, repo_, "ID");
  EXPECT_TRUE(!outcome.is_success && outcome.result.is_unchanged &&
              outcome.outputs[0].text.empty());
  EXPECT_EQ(logged(),
            "ERROR: Could not find any commit objects. Run GITFN_COMMIT_LOG on your repo prior to "
            "obtaining commit objects.\n");
  EXPECT_EQ(host_.pools().counters().blocks, 2u) << "the copies of path and name stay";
}

// Each libgit2 function that get_commit_log looks up, missing; those of the set-up also failing.
TEST_F(Log, NeedsEveryFunctionOfTheWalk) {
  const std::string id = commit_at(0);
  write_file(repo_ / "file", "x");
  git(repo_, {"stash", "--include-untracked"});
  ASSERT_EQ(code("get_commit_log", repo_), "4");
  const std::string set_up =
      "git_revwalk_new git_revwalk_sorting git_revwalk_push_head git_revwalk_push_glob "
      "git_revwalk_push_ref git_repository_head";
  const std::pair<std::string, std::string> rows[] = {
      {"-1", set_up},
      {"-1",
       "git_revwalk_next git_reference_lookup git_reference_target git_oid_fmt git_commit_lookup "
       "git_commit_message git_commit_author git_commit_committer git_commit_time "
       "git_commit_parentcount git_commit_parent_id"},
      {"unchanged", "git_libgit2_init"},
      {"4",
       "git_commit_free git_reference_free git_revwalk_free git_repository_free "
       "git_libgit2_shutdown"},
  };
  for (const auto& [expected, functions] : rows) {
    for (const std::string& function : split(functions, ' ')) {
      const LeaksOnPurpose leaks;
      hide_function(function);
      EXPECT_EQ(code("get_commit_log", repo_), expected) << function;
      EXPECT_EQ(logged(), expected == "-1" ? "ERROR: No detailed error info available.\n" : "");
      EXPECT_EQ(attribute(4, "ID"), id) << function << ": a log is there in any case";
    }
  }
  for (const std::string& function : split(set_up, ' ')) {
    replace_function(function, reinterpret_cast<void*>(+[](void*, void*) { return -1; }));
    EXPECT_EQ(code("get_commit_log", repo_), "-1") << function;
    EXPECT_TRUE(logged().starts_with("ERROR: ")) << function;
  }
}

TEST_F(Log, PassesOverACommitThatCannotBeLookedUp) {
  const std::string root = commit_at(0);
  const std::string lost = commit_at(1);
  const std::string tip = commit_at(2);
  static int (*look_up)(git_commit**, git_repository*, const unsigned char*);
  static int calls;
  calls = 0;
  host_.modules().set_lookup_hook([](std::string_view asked, void* found) {
    if (asked != "git_commit_lookup") return found;
    look_up = reinterpret_cast<decltype(look_up)>(found);
    return reinterpret_cast<void*>(
        +[](git_commit** commit, git_repository* repo, const unsigned char* oid) {
          return ++calls == 2 ? -1 : look_up(commit, repo, oid);
        });
  });
  EXPECT_EQ(code("get_commit_log", repo_), "2");
  EXPECT_TRUE(logged().starts_with("ERROR: "));
  EXPECT_EQ(attribute(1, "ID"), tip);
  EXPECT_EQ(attribute(1, "PARENT_IDS"), lost);
  EXPECT_EQ(attribute(2, "ID"), root);
  EXPECT_EQ(attribute(2, "CHILDREN_IDS") + attribute(2, "IN_CURRENT_BRANCH"), "FALSE");
  logged();

  // What libgit2 does with a history that is cut off differs by version; it is never an error.
  const fs::path shallow = sandbox_.root() / "shallow";
  git(repo_, {"clone", "--quiet", "--depth=2", "file://" + repo_.string(), shallow.string()});
  EXPECT_LE(std::abs(call("get_commit_log", shallow).result.code - 1), 1) << "0 to 2 commits";
  EXPECT_EQ(logged(), "");
}

// The lists, from inside: what a log that is built by the walk alone never shows.
TEST(LogObjects, KeepTheirOrderAndTheRulesOfTheHead) {
  host::PoolService pools;
  RepoLog* middle = insertRepoLogAtTail(pools.create("middle"), "middle");
  RepoLog* last = insertRepoLogAtTail(pools.create("last"), "last  ");
  RepoLog* first = insertRepoLogAtHead(pools.create("first"), "first");
  EXPECT_TRUE(headLogObject == first && first->next == middle && middle->next == last);
  EXPECT_TRUE(findRepoLogObject("last") == last && !findRepoLogObject("Last"));

  workingRepoLogObject = middle;
  CommitGraphNode a{.id = "a"}, b{.id = "b"}, c{.id = "c"}, front{.id = "front"};
  insertCommitGraphNodeAtHead(&a);
  insertCommitGraphNodeAtTail(&b);
  insertCommitGraphNodeAtTail(&c);
  EXPECT_EQ(middle->last, nullptr) << "the first node came in at the head";
  insertCommitGraphNodeAtHead(&front);
  EXPECT_TRUE(middle->first == &a && a.prev == &front && front.next == &a);
  EXPECT_TRUE(log_entry(middle, 1) == &a && log_entry(middle, 3) == &c && !log_entry(middle, 4));
  EXPECT_TRUE(findCommitGraphNode("c ") == &c && !findCommitGraphNode("front"));
  workingRepoLogObject = last;
  CommitGraphNode one{.id = "one"}, two{.id = "two"};
  insertCommitGraphNodeAtTail(&one);
  EXPECT_EQ(log_entry(last, 1), &one);
  insertCommitGraphNodeAtTail(&two);
  EXPECT_TRUE(last->first == &one && last->last == &two && two.prev == &one);
  EXPECT_EQ(log_entry(last, 2), &two) << "the index follows a change";

  EXPECT_TRUE(free_repo_log("middle") == 0 && first->next == last && last->prev == first);
  EXPECT_TRUE(free_repo_log("middle") == 0 && !workingRepoLogObject);
  first->pool->destroy = [](HostPool*) { return -1; };
  EXPECT_TRUE(free_repo_log("first") == 1 && headLogObject == last);
  EXPECT_TRUE(free_repo_log("last") == 0 && !headLogObject);
}

}  // namespace
}  // namespace uwugit::test
