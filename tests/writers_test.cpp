// Several processes in one repository, each with the command.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <future>

#include "process.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

using Command = std::vector<std::string>;

std::future<std::string> start(const std::string& subcommand, Command command) {
  command.insert(command.begin(), {UWUGIT_COMMAND, subcommand});
  return std::async(std::launch::async, [command] { return runner::run(command).output; });
}

using Writer = ModuleTest;

TEST_F(Writer, LosesNothingOfAnother) {
  const fs::path repo = sandbox_.new_repository();
  const fs::path program = sandbox_.root() / "writer.lua";
  write_file(program, R"(
    local repo, me = arg[1], arg[2]
    for round = 1, 15 do
      local name = me .. round
      assert(io.open(repo .. "/" .. name, "w")):close()
      assert(git.get_status(repo) >= 1)
      assert(git.add_files_to_index(repo, name, "new") == 0)
      assert(git.do_commit(repo, "HEAD", me, "me@example.org", name) == 0)
    end
    print("done"))");
  std::vector<std::future<std::string>> writers;
  for (const char* me : {"a", "b", "c", "d"}) writers.push_back(start("run", {program, repo, me}));
  for (auto& writer : writers) EXPECT_NE(writer.get().find("done"), std::string::npos);
  EXPECT_EQ(git(repo, {"rev-list", "--count", "HEAD"}), "60");
  const std::string files = git(repo, {"ls-tree", "--name-only", "HEAD"}) + "\n";
  EXPECT_EQ(std::count(files.begin(), files.end(), '\n'), 60) << files;
}

// The lock is held for longer than a call waits. What writes waits for it, and what reads does not.
TEST_F(Writer, GivesUpWhenAnotherKeepsTheLock) {
  const fs::path repo = sandbox_.new_repository();
  write_file(repo / "file", "one");
  const std::string id = commit_all(repo, "one"), me = "me", email = "me@example.org";
  git(repo, {"remote", "add", "origin", repo});
  write_file(repo / "file", "changed");
  const std::vector<Command> calls = {{"add_files_to_index", repo, "file", "modified"},
                                      {"remove_files_from_index", repo, "file"},
                                      {"do_commit", repo, "HEAD", me, email, "text"},
                                      {"merge_branch", repo, "main", me, email},
                                      {"reset_to_commit", repo, id, "HARD"},
                                      {"reset_file_in_index", repo, "file"},
                                      {"checkout_branch", repo, "main"},
                                      {"stash", repo, me, email},
                                      {"stash_apply", repo},
                                      {"stash_pop", repo},
                                      {"stash_drop", repo},
                                      {"rebase", repo, id, id, me, email},
                                      {"rebase_operation", repo, "ABORT", "main", me, email},
                                      {"do_pull", repo},
                                      {"get_status", repo},
                                      {"get_commit_log", repo},
                                      {"diff_file_in_index", repo, "file"}};
  const std::size_t writers = calls.size() - 3;
  const int folder = open((repo / ".git").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(folder, LOCK_EX), 0);
  std::vector<std::future<std::string>> outputs;
  for (const Command& call : calls) outputs.push_back(start("call", call));
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const std::string output = outputs[i].get();
    const bool gave_up = output.find("another process is working in this") != std::string::npos;
    EXPECT_EQ(gave_up, i < writers) << calls[i][0] << "\n" << output;
  }
  close(folder);
  EXPECT_EQ(git(repo, {"status", "--porcelain"}), " M file");
}

// As if another process had committed just before the lock was free.
TEST_F(Writer, LooksHeadUpAgainUnderTheLock) {
  const fs::path repo = sandbox_.new_repository();
  commit_all(repo, "one");
  host_.modules().set_lookup_hook([&](std::string_view asked, void* found) {
    if (asked == "git_reset_default") {
      write_file(repo / "file", "x");
      commit_all(repo, "two");
    }
    return found;
  });
  EXPECT_EQ(code("remove_files_from_index", repo, "file"), "0");
  EXPECT_EQ(git(repo, {"status", "--porcelain"}), "");
}

}  // namespace
}  // namespace uwugit::test
