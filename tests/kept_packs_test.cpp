// A repository whose packs the companion keeps open answers as one that is opened afresh, whatever
// happened to its files. Each row is run both ways.
#include <dlfcn.h>
#include <git2.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "process.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

// Looks at a repository until its packs are kept, changes it, and looks again. The last lines count
// the packs that the process has mapped before and after, by their paths.
constexpr char kProgram[] = R"lua(
local path, first, second, change = table.unpack(arg)
local function look()
  print("commits", git.get_commit_log(path))
  for number = 1, git.diff_commits(path, first, second) do
    print(select(2, git.get_diff_attribute(number, path, first, second, "DIFF_CONTENT")))
  end
  local found, repo = pcall(git.open, path)
  if not found then return print(repo) end
  print(pcall(function() for row in repo:changes{jobs = 2} do print(row.id, row.path) end end))
end
local function count_packs()
  local packs, count = {}, 0
  for line in io.lines("/proc/self/maps") do
    local pack = line:match("%S+%.pack")
    if pack and not packs[pack] then packs[pack], count = true, count + 1 end
  end
  return count
end
for _ = 1, 3 do look() end
local before = count_packs()
os.execute(change)
for _ = 1, 3 do look() end
print("packs", before, count_packs())
)lua";

// What a change is made in: a repository of three commits in one pack, "other" with commits and a
// pack of its own, and "link", which leads to the repository and is what the program is given.
constexpr char kPreparation[] = R"sh(
cd "$1"; export GIT_AUTHOR_DATE='@1000000000 +0000' GIT_COMMITTER_DATE='@1000000000 +0000'
for name in repo other; do
  git init --quiet $name
  for number in 1 2 3; do
    seq $number 400 >$name/file; git -C $name add file; git -C $name commit --quiet --message "$name $number"
  done
  git -C $name repack -adq
done
ln -s repo link; place=link; first=$(git -C repo rev-parse HEAD~1) second=$(git -C repo rev-parse HEAD)
)sh";

struct Change {
  const char* name;
  const char* script;
};
constexpr Change kChanges[] = {
    {"nothing", ":"},
    {"packed again", "git -C repo repack -adqf --depth=1"},
    {"collected", "git -C repo commit --quiet --allow-empty --message 4; git -C repo gc --quiet"},
    {"pruned",
     "cd repo; git reset --quiet --hard HEAD~1; git reflog expire --expire=now --all;"
     "git repack -adq; git prune --expire=now"},
    {"written by another process", "seq 9 >repo/file; git -C repo commit --quiet --all -m 4"},
    {"fetched", "git -C repo fetch --quiet ../other main:other"},
    {"deleted", "rm -r repo"},
    {"deleted and made again", "rm -r repo; git clone --quiet other repo"},
    {"a link that moved", "rm link; ln -s other link"},
    {"alternates added and packs removed",
     "mv repo/.git/objects/pack/* other/.git/objects/pack;"
     "echo \"$PWD/other/.git/objects\" >repo/.git/objects/info/alternates"},
    {"alternates removed", "rm borrower/.git/objects/info/alternates"},
    {"a pack of an alternate removed", "rm -f repo/.git/objects/pack/*"},
    {"a damaged pack",
     "for pack in repo/.git/objects/pack/*.pack; do chmod u+w $pack;"
     "printf %400s | dd of=$pack bs=1 seek=30 conv=notrunc status=none; done"},
    {"a linked work tree",
     "git -C repo repack -adqf --depth=1; git -C tree commit -q --allow-empty -m 4"},
    {"unmounted", "umount --lazy repo 2>&- || rm -r repo"},
};

class KeptPacks : public testing::TestWithParam<Change> {
 protected:
  // The program's output, and the packs that it had open before and after the change.
  std::pair<std::string, std::string> run(const char* keep) {
    const fs::path folder = sandbox_.root() / "row";
    fs::remove_all(folder);
    fs::create_directory(folder);
    write_file(sandbox_.root() / "program.lua", kProgram);
    const std::string script = std::string(kPreparation) + R"sh(
case $3 in
  *alternate*) git clone --quiet --shared repo borrower; place=borrower;;
  *tree*) git -C repo worktree add --quiet ../tree; place=tree;;
  unmounted) mv repo moved; mkdir repo; mount --bind moved repo 2>&- || cp -r moved/. repo;;
esac
export UWUGIT_KEEP_OBJECTS=$4
export ASAN_OPTIONS=detect_leaks=0 # libgit2's walk leaks when a commit is lost
"$2" run ../program.lua $place $first $second "$5" 2>&1)sh";
    std::vector<std::string> command = {
        "sh", "-c", script, "sh", folder, UWUGIT_COMMAND, GetParam().name, keep, GetParam().script};
    // Where a process may not mount, the row is one more that deletes.
    command.insert(command.begin(), {"sh", "-c", R"sh(
unshare --map-root-user --mount true 2>&- && set -- unshare --map-root-user --mount "$@"
exec "$@")sh",
                                     "sh"});
    const std::string output = runner::run(command).output;
    const std::size_t packs = output.rfind("packs");
    return {output.substr(0, packs), packs < output.size() ? output.substr(packs) : ""};
  }

  Sandbox sandbox_;
};

TEST_P(KeptPacks, AnswerAsThoseThatAreOpenedAfresh) {
  const auto [kept, kept_packs] = run("1");
  const auto [fresh, fresh_packs] = run("0");
  EXPECT_EQ(kept, fresh);
  EXPECT_PRED2(starts_with, kept, "commits\t");
  EXPECT_PRED2(is_like, kept_packs, "packs\t[1-9]\t*");
  EXPECT_EQ(fresh_packs, "packs\t0\t0\n");
}

TEST(ManyRepositories, AreNotAllKept) {
  Sandbox sandbox;
  const fs::path folder = sandbox.root();
  write_file(folder / "program.lua", R"lua(
for number = 1, 40 do
  for _ = 1, 3 do assert(git.get_commit_log(arg[1] .. number) == 1) end
end
for line in io.lines("/proc/self/maps") do if line:find("%.pack$") then print(line) end end
)lua");
  commit_all(sandbox.new_repository("one"), "first");
  git(folder / "one", {"repack", "-adq"});
  for (int number = 1; number <= 40; ++number) {
    fs::copy(folder / "one", folder / ("copy" + std::to_string(number)),
             fs::copy_options::recursive);
  }
  const std::string maps =
      runner::run({UWUGIT_COMMAND, "run", folder / "program.lua", folder / "copy"}).output;
  EXPECT_EQ(std::count(maps.begin(), maps.end(), '\n'), 8) << maps;
}

template <class Function>
Function* find(const char* name) {
  static void* const library = dlopen((kLibraryFolder / "libgit2.so").c_str(), RTLD_NOW);
  return reinterpret_cast<Function*>(dlsym(library, name));
}
#define GIT2(name) find<decltype(::name)>(#name)

// Threads open repositories, read objects of their packs and free them, while others cannot open
// one, by which all packs are let go.
TEST(ManyThreads, ReadFromPacksThatAreKeptAndLetGo) {
  Sandbox sandbox;
  const fs::path repo = sandbox.new_repository();
  for (unsigned commit = 0; commit < 20; ++commit) {
    write_file(repo / "file", std::string(commit, '\n'));
    commit_all(repo, "commit");
  }
  git(repo, {"repack", "-adq"});
  GIT2(git_libgit2_init)();
  std::atomic<int> read = 0;
  const auto work = [&](int thread) {
    for (int round = 0; round < 60; ++round) {
      git_repository* opened = nullptr;
      const fs::path place = thread == 0 ? repo / "none" : repo;
      if (GIT2(git_repository_open)(&opened, place.c_str()) != 0) continue;
      git_object* file = nullptr;
      const std::string name = "HEAD~" + std::to_string(round % 20) + ":file";
      if (GIT2(git_revparse_single)(&file, opened, name.c_str()) == 0) ++read;
      GIT2(git_object_free)(file);
      GIT2(git_repository_free)(opened);
    }
  };
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) threads.emplace_back(work, thread);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(read, 3 * 60);
  GIT2(git_libgit2_shutdown)();
}

INSTANTIATE_TEST_SUITE_P(Whenever, KeptPacks, testing::ValuesIn(kChanges), [](const auto& tested) {
  std::string name = tested.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

}  // namespace
}  // namespace uwugit::test
