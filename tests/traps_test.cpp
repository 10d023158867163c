// The traps of libgit2 that the companion heals: each row is run with the plain library, where the
// trap shows, and with the companion. Every call is a process of its own, as some do not come back.
#include <gtest/gtest.h>
#include <regex.h>

#include <algorithm>

#include "process.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

// What a script begins with, in a repository of one commit. A call that is killed or uses more than
// its time of the processor answers "nothing". `limited` lets no file grow beyond 2 KB, as a full
// disk would.
constexpr char kHead[] = R"sh(
cd "$1"; system=$2; command=$3; seconds=$4
answer() {
  { text=$(ulimit -t $seconds; "$command" call --system-path "$system" "$@" 2>&1); } 2>/dev/null
  case $text in *"return code: "*) echo "${text##*return code: } $text" ;; *) echo nothing ;; esac
}
limited() { (trap '' XFSZ; ulimit -f 4; answer "$@"); }
noise() { head -c 6000 /dev/urandom | base64 --wrap 0; }
content() { test "$(cat "$1")" = "$2" && echo kept || echo lost; }
commit() { echo "$2" >"$1"; git add "$1"; git commit --quiet --message "$2"; }
subjects() { git log --format=%s topic | paste -sd' '; }
operate() { answer rebase_operation "$PWD" $1 topic N e; }
stop() {  # a rebase of one, two, three and four that stops at two
  git switch --quiet --create topic; commit n one; commit a two; commit c three; commit f four
  git switch --quiet main; commit a main; git switch --quiet topic
  answer rebase "$PWD" $(git rev-parse topic main) N e >/dev/null
}
echo '*.ignored' >.gitignore; mkdir -p d/e; echo x >d/x; echo y >d/e/y; echo t >t.ignored
git add --force .; commit a a
)sh";

struct Trap {
  const char* name;
  const char* script;
  const char* plain;  // the output on one line, as regular expressions
  const char* cured;
};

constexpr Trap kTraps[] = {
    {"a push that is refused", R"sh(
git init --quiet --bare ../bare.git; git remote add origin "$PWD/../bare.git"
git push --quiet origin main; commit a new; touch ../bare.git/refs/heads/main.lock
answer do_push "$PWD" ' ' ' ' ' ' ' ' ' ' 0; git diff --quiet origin/main || echo behind)sh",
     "^0 .*behind $", "^4 .*the server refused refs/heads/main: .*behind $"},
    {"an untracked file in the way of a rebase that goes on", R"sh(
stop; commit a two; echo mine >c; operate CONTINUE; rm c; operate CONTINUE; subjects)sh",
     "^0 .*four two one main a $",
     "^-1 .*commit .[0-9a-f]{40}. could not be applied: .* 0 .*four three two one main a $"},
    {"an untracked file in the way of a rebase that skips, and its end", R"sh(
stop; echo mine >c; operate SKIP; content c mine; operate ABORT; subjects)sh",
     "^0 .*kept -1 .*four one main a $", "^-1 .*kept 0 .*four three two one a $"},
    {"changes of a rebase that are only staged", R"sh(
stop; git checkout --quiet --theirs a; git add a; operate CONTINUE; subjects)sh",
     "^0 .* one main a $", "^-1 .*could not be applied: .*four three two one a $"},
    {"changes of the last commit of a rebase that are only staged", R"sh(
stop; echo 4 >.git/rebase-merge/msgnum; git add a; operate CONTINUE; subjects)sh",
     "^0 .* one main a $", "^-1 .*are in the index and not committed.*four three two one a $"},
    {"a damaged rebase", R"sh(stop; echo 5 >.git/rebase-merge/msgnum; operate CONTINUE)sh",
     "^nothing", "^-1 .*/rebase-merge/msgnum names commit 5 of 4"},
    {"a merge that cannot be written", R"sh(
git switch --quiet --create topic; commit n n; git switch --quiet main; commit m m
limited merge_branch "$PWD" topic "$(noise)" e; git log -1 --format=%s)sh",
     "^0 .* m $", "^-1 .*File too large.* m $"},
    {"a stash that cannot be written", R"sh(
echo mine >a; limited stash "$PWD" "$(noise)" e; content a mine)sh",
     "^-1 .*object not found.*kept $", "^-1 .*File too large.*kept $"},
    {"a stash while the index is locked", R"sh(
echo mine >a; touch .git/index.lock; answer stash "$PWD" N e; content a mine)sh",
     "^-1 .*lost $", "^-1 .*the index is locked.*kept $"},
    {"a commit of a rebase that cannot be written", R"sh(
rm -r .git/logs; git config core.logAllRefUpdates false
git switch --quiet --create topic; commit n n; git commit --quiet --amend --message "$(noise)"
git switch --quiet main; commit m m; git switch --quiet topic; limited rebase "$PWD" $(git rev-parse topic main) N e)sh",
     "^-1 .*object not found", "^-1 .*File too large"},
    {"staging that fails without a text", R"sh(
head -c 60000 /dev/urandom >big; limited add_files_to_index "$PWD" big NEW)sh",
     "^-1 .*No detailed error info", "^-1 .*File too large"},
    {"a named pipe that is staged", R"sh(
mkfifo p; echo x >p & answer add_files_to_index "$PWD" p NEW; : 1<>p)sh",
     "^-1 ERROR: Return code from GIT is .2.", "^-1 .*cannot stage 'p': it is a named pipe"},
    {"a named pipe that is stashed", R"sh(
rm a; mkfifo a; cat a >../written & answer stash "$PWD" N e; : 1<>a; wait; content ../written a)sh",
     "^0 .*kept $", "^-1 .*'a' is a named pipe.*lost $"},
    {"a named pipe in the way of a checkout", R"sh(
git switch --quiet --create topic; commit p p; git switch --quiet main; mkfifo p
cat p >../written & answer checkout_branch "$PWD" topic; : 1<>p; wait; content ../written p)sh",
     "^0 .*kept $", "^-1 .*'p' is in the way: it is a named pipe.*lost $"},
    {"a link in the place of a file that is restored", R"sh(
echo mine >../other; rm a; ln -s ../other a
answer reset_to_commit "$PWD" $(git rev-parse HEAD) HARD; content ../other mine; content a a)sh",
     "^0 .*lost kept $", "^0 .*kept kept $"},
    {"a link in the place of a folder that is restored", R"sh(
mv d other; echo mine >other/x; ln -s other d
answer reset_to_commit "$PWD" $(git rev-parse HEAD) HARD; content other/x mine; content d/x x)sh",
     "^0 .*lost kept $", "^0 .*kept kept $"},
    {"an object that ends too early", R"sh(
commit a "$(noise)"; file=.git/objects/$(git rev-parse HEAD | sed 's,..,&/,')
chmod u+w $file; truncate --size 2000 $file; answer get_commit_log "$PWD")sh",
     "^nothing", "^-1 .*an object ends too early; git fsck names it"},
};

// What a stash would destroy, with the path that it is refused with; or else what it keeps.
struct Stash {
  const char* preparation;
  const char* refused;
};
constexpr Stash kStashes[] = {
    {"git rm --quiet --cached d/e/y; echo mine >d/e/y", "d/e/y"},
    {"git rm --quiet --cached t.ignored; echo mine >t.ignored", "t.ignored"},
    {"git rm --quiet a; mkdir a; echo mine >a/in", "a"},
    {"rm a; mkdir a; echo mine >a/in.ignored", "a"},
    {"rm a; mkdir a; echo x >a/x; git add --all; echo mine >a/in", "a"},
    {"git rm --quiet -r d; mkdir -p d/e/y; echo mine >d/e/y/z", "d/e/y"},
    {"rm -r d; echo mine >d", "d"},
    {"rm a; git init --quiet a; echo mine >a/in", "a"},
    {"git rm --quiet --cached d/e/y; git init --quiet d/e; echo mine >d/e/y", "d/e/y"},
    {"git update-index --assume-unchanged a; echo mine >a; echo z >d/x", "a"},
    {"git update-index --skip-worktree a; echo mine >a; echo z >d/x", "a"},
    {"echo mine >a", nullptr},
    {"git rm --quiet --cached a; echo mine >a", nullptr},
    {"git rm --quiet --cached -r d; echo mine >a", nullptr},
    {"rm -r d; echo mine >d; git add --all", nullptr},
    {"rm a; mkdir a; echo mine >a/in; git add --all", nullptr},
    {"rm a; mkdir -p a/b; echo mine >d/x", nullptr},
};
constexpr char kStash[] = R"sh(
answer stash "$PWD" N e
grep --recursive --quiet mine --exclude-dir .git . && echo there || echo lost
git grep --quiet mine stash 2>/dev/null && echo stashed)sh";

class Traps : public testing::Test {
 protected:
  Traps() {
    fs::create_directory(plain_);
    fs::create_symlink(UWUGIT_LIBGIT2_FILE, plain_ / "libgit2.so");
  }

  std::string run_plain(const std::string& script) { return run(script, plain_, "2"); }
  std::string run_cured(const std::string& script) { return run(script, kLibraryFolder, "60"); }

 private:
  std::string run(const std::string& script, const fs::path& system, const char* seconds) {
    const fs::path folder = sandbox_.root() / "row";
    fs::remove_all(folder);
    const fs::path repo = sandbox_.new_repository("row/repo");
    fs::remove_all(repo / ".git/hooks");  // quicker to copy
    std::string output =
        runner::run({"sh", "-c", kHead + script, "sh", repo, system, UWUGIT_COMMAND, seconds})
            .output;
    std::replace(output.begin(), output.end(), '\n', ' ');
    return output;
  }

  Sandbox sandbox_;
  fs::path plain_ = sandbox_.root() / "plain";
};

// For EXPECT_PRED2, which shows both when it fails.
bool contains(const std::string& text, const std::string& expression) {
  regex_t compiled;
  if (regcomp(&compiled, expression.c_str(), REG_EXTENDED | REG_NOSUB) != 0) return false;
  const bool is_found = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return is_found;
}

TEST_F(Traps, AreHealed) {
  for (const Trap& trap : kTraps) {
    SCOPED_TRACE(trap.name);
    EXPECT_PRED2(contains, run_plain(trap.script), trap.plain);
    EXPECT_PRED2(contains, run_cured(trap.script), trap.cured);
  }
}

TEST_F(Traps, OfTheStashAreRefusedAndNothingElseIs) {
  for (const Stash& row : kStashes) {
    SCOPED_TRACE(row.preparation);
    const std::string script = row.preparation + std::string(kStash);
    EXPECT_PRED2(contains, run_plain(script), row.refused ? "^0 .*lost $" : "^0 .*stashed $");
    const std::string refusal =
        "^-1 .*'" + std::string(row.refused ? row.refused : "") + "'.*there $";
    EXPECT_PRED2(contains, run_cured(script), row.refused ? refusal : "^0 .*stashed $");
  }
}

// The trees that are equal on both sides are passed over; what is told of the others is the same,
// whatever their files are called and become.
TEST_F(Traps, OfReadingEqualTreesAreHealedWithoutADifference) {
  constexpr char kHistory[] = R"sh(
step() { git add --all; git commit --quiet --allow-empty --message step; }
git rm -r --quiet .; rm -rf a; mkdir -p a/b/c a-b other/deep
for name in a.b a0 a-b/x a/b/x a/b/c/x '!n' '#h' ':c' '*' '\\' ' s' 'a/b/[x]' other/deep/x; do
  echo "$name" >"$name"
done
step; echo y >>a/b/x; echo y >>'!n'; echo y >>'*'; step; step
rm -r a/b; echo file >a/b; step
rm -r a a0; mkdir a0; echo y >a0/x; ln -s a0 a; step
chmod +x a.b; rm '#h'; step
mkdir many; for n in $(seq 300); do echo $n >many/$n; done; step
for n in $(seq 249); do echo x >many/$n; done; step
git update-index --add --cacheinfo 160000,$(git rev-parse HEAD),many/module
git commit --quiet --message step; git config diff.context 1
show() {
  "$command" changes --system-path $1 --format csv
  for id in $(git log --format=%h | sed '$d'); do
    "$command" diff --system-path $1 --format patch $id~1 $id
  done
}
show ../../plain >../plain; show "$system" >../cured; cmp ../plain ../cured && grep -c ^diff ../cured
git log -p --no-renames --format= HEAD~9.. | grep -c ^diff)sh";
  EXPECT_EQ(run_cured(kHistory), "581 581 ");
}

}  // namespace
}  // namespace uwugit::test
