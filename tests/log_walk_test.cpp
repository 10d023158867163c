// The companion's own walk of a history beside libgit2's, which UWUGIT_OWN_WALK=0 leaves alone: the
// same commits in the same order with the same errors, and the same after whatever else is asked.
#include <dlfcn.h>
#include <git2.h>

#include <future>
#include <optional>
#include <sstream>

#include "process.h"
#include "support/leaks.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

// grow COMMITS MOST_PARENTS ROOTS TIPS TIMES: TIMES is how many different times there are, or 0 for
// children that are always newer.
constexpr char kHead[] = R"sh(
cd "$1"
grow() {
  awk -v n=$1 -v most=$2 -v roots=$3 -v times=$5 'BEGIN { srand(1); for (i = 1; i <= n; ++i) {
    if (i <= roots) print "reset refs/made"
    time = times ? rand() * times : i
    printf "commit refs/made\nmark :%d\ncommitter A <a@b> %d +0000\ndata 6\n%6d\n", i, time, i
    near = i < 30 ? i - 1 : most == 1 ? 1 : 29
    for (k = i <= roots ? most : int(rand() * most); k < most; ++k)
      printf "%s :%d\n", parents[i]++ ? "merge" : "from", i - 1 - int(rand() * near)
  } printf "reset refs/heads/main\nfrom :%d\n", n }' |
    git -c fastimport.unpackLimit=400 fast-import --quiet --export-marks=.git/made
  awk -v n=$1 -v m=$4 'FNR > n - m { print $2, "refs/tags/" FNR * 7919 % n }' .git/made >.git/packed-refs
}
lose() { rm .git/objects/$(git rev-parse $1 | sed 's,..,&/,'); }
commit() {  # TREE PARENT [AUTHOR]
  printf "tree %s\nparent %s\n${3-author A <a@b> 9 +0000}\ncommitter A <a@b> 9 +0000\n\nx" $(git rev-parse $1 $2) >x
  git hash-object --literally -t commit -w x >.git/refs/tags/x
}
)sh";

// Which steps are taken one after the other; Walk::take tells what they do.
constexpr char kOne[] = "sgpa";
constexpr char kAll[] =
    "sgpanl gspa gpa tgpa sa sgnlllnnlnla sgnnpla sgnnhla sghpa sgfpa sgnfa sgnsga sgnnta "
    "sgnlrlsga sgnnral sgasgan sgnstspa sxa sgpnn";
constexpr const char* kHistories[][2] = {
    {"grow 300 1 1 0 0", kOne},
    {"grow 900 20 1 0 0", kOne},
    {"grow 900 2 9 300 0", kOne},
    {"grow 900 3 2 90 5000", kOne},
    {"grow 900 3 9 400 1", kOne},
    {"grow 2000 2 9 2000 100", kOne},
    {"grow 300 3 3 90 50; git branch old main~2", kAll},
    {"grow 300 3 3 90 50; git branch old main~2; lose main^", kAll},
    {"grow 60 1 1 0 0; git tag -m x a main; git tag -m x b a; git tag c $(git write-tree)", kOne},
    {"grow 60 1 1 0 0; lose main^^; git rev-parse main^ >.git/shallow", kOne},
    {"grow 60 1 1 0 0; lose main", kOne},
    {"grow 60 1 1 0 0; git symbolic-ref refs/tags/a refs/tags/none", "sgpa spga"},
    {"grow 60 1 1 0 0; echo nonsense >.git/refs/tags/a", kOne},
    {"grow 60 1 1 0 0; commit main^{tree} main 'author A'", kOne},
    {"grow 60 1 1 0 0; commit main^{tree} main 'author A'; commit main^{tree} x", kOne},
    {"grow 60 1 1 0 0; commit main^{tree} main^{tree}", kOne},
    {"", "sgpa spa"},
};

#define FIND(name) reinterpret_cast<decltype(&::name)>(dlsym(companion(), #name))
void* companion() {
  static void* library = dlopen((kLibraryFolder / "libgit2.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  return library;
}

// A walk by the functions of the companion, and how much libgit2's cache holds after it.
struct Walk {
  git_repository* repo = nullptr;
  git_revwalk* walk = nullptr;
  git_oid last = {};
  std::string answers;
  ssize_t cached = 0;

  Walk(const fs::path& path, const std::string& steps, bool is_damaged) {
    std::optional<LeaksOnPurpose> leaks;  // libgit2's walk forgets its lists when it fails
    if (is_damaged) leaks.emplace();
    FIND(git_libgit2_init)();
    EXPECT_EQ(FIND(git_repository_open)(&repo, path.c_str()), 0);
    EXPECT_EQ(FIND(git_revwalk_new)(&walk, repo), 0);
    for (const char step : steps) take(step);
    ssize_t most = 0;
    FIND(git_libgit2_opts)(GIT_OPT_GET_CACHED_MEMORY, &cached, &most);
    FIND(git_revwalk_free)(walk);
    FIND(git_repository_free)(repo);
    FIND(git_libgit2_shutdown)();
  }

  void take(char step) {
    git_commit* commit = nullptr;
    switch (step) {
      case 's':
        return note(FIND(git_revwalk_sorting)(walk, 3));
      case 't':
        return note(FIND(git_revwalk_sorting)(walk, GIT_SORT_TIME));
      case 'p':
        return note(FIND(git_revwalk_push_head)(walk));
      case 'g':
        return note(FIND(git_revwalk_push_glob)(walk, "tags"));
      case 'x':
        return note(FIND(git_revwalk_push_ref)(walk, "refs/tags/none"));
      case 'h':
        return note(FIND(git_revwalk_hide_ref)(walk, "refs/heads/old"));
      case 'f':
        return note(FIND(git_revwalk_simplify_first_parent)(walk));
      case 'r':
        return note(FIND(git_revwalk_reset)(walk));
      case 'n':
        return note(FIND(git_revwalk_next)(&last, walk));
      case 'l':
        note(FIND(git_commit_lookup)(&commit, repo, &last));
        if (commit) note(static_cast<int>(FIND(git_commit_time)(commit)));
        return FIND(git_commit_free)(commit);
      default:  // all that is left
        while (take('n'), answers.back() == ' ') take('l');
    }
  }

  void note(int code) {
    const git_error* error = code < 0 ? FIND(git_error_last)() : nullptr;
    answers += std::to_string(code) + FIND(git_oid_tostr_s)(&last);
    answers += code >= 0 ? " " : (error ? error->message : "over") + std::string("\n");
  }
};

TEST(LogWalk, AnswersLikeLibgit2) {
  Sandbox sandbox;
  for (const auto& [script, all_steps] : kHistories) {
    SCOPED_TRACE(script);
    fs::remove_all(sandbox.root() / "repo");
    const fs::path repo = sandbox.new_repository();
    const auto made = runner::run({"sh", "-ec", std::string(kHead) + script, "sh", repo});
    ASSERT_EQ(made.status, 0) << made.output;
    const bool is_damaged = std::string_view(script).find("main^") != std::string_view::npos;
    std::istringstream rows(all_steps);
    for (std::string steps; rows >> steps;) {
      const Walk own(repo, steps, is_damaged);
      auto answers = [&] { return Walk(repo, steps, is_damaged).answers; };
      auto other = std::async(std::launch::async, answers);
      EXPECT_EQ(answers(), own.answers) << steps;
      EXPECT_EQ(other.get(), own.answers) << steps << " in another thread";
      setenv("UWUGIT_OWN_WALK", "0", 1);
      const Walk plain(repo, steps, is_damaged);
      unsetenv("UWUGIT_OWN_WALK");
      EXPECT_EQ(own.answers, plain.answers) << steps;
      setenv("UWUGIT_CACHE_BYTES", "2000", 1);  // two or three commits may wait
      EXPECT_EQ(answers(), plain.answers) << steps << " with little memory";
      unsetenv("UWUGIT_CACHE_BYTES");
      const bool is_whole = plain.answers.find('\n') == plain.answers.find("over\n") + 4;
      if (steps == kOne && is_whole) {
        EXPECT_GT(plain.cached, 2 * own.cached) << "read by libgit2's walk";
      }
    }
  }
}

}  // namespace
}  // namespace uwugit::test
