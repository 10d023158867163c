// Several processes in one repository, each with the command.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <future>
#include <regex>
#include <sstream>

#include "process.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

// The command with words that are separated by blanks, at the same time as others.
std::future<std::string> start(const std::string& words) {
  std::istringstream stream(words);
  std::vector<std::string> command = {UWUGIT_COMMAND};
  for (std::string word; stream >> word;) command.push_back(word);
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
      for _, file in ipairs {name, me .. 1} do assert(io.open(repo .. "/" .. file, "w")):close() end
      assert(git.get_status(repo) >= 1)
      assert(git.add_files_to_index(repo, name, "new") == 0)
      assert(git.do_commit(repo, "HEAD", me, "me@example.org", name) == 0)
    end
    print("done"))");
  std::vector<std::future<std::string>> writers;
  const std::string run = "run " + program.string() + " " + repo.string() + " ";
  for (const char* me : {"a", "b", "c", "d"}) writers.push_back(start(run + me));
  for (auto& writer : writers) EXPECT_NE(writer.get().find("done"), std::string::npos);
  EXPECT_EQ(git(repo, {"rev-list", "--count", "HEAD"}), "60");
  EXPECT_EQ(git(repo, {"ls-tree", "--format=", "HEAD"}), std::string(59, '\n'));
}

// The lock is held for longer than a call waits. What writes waits for it, and what reads does not.
TEST_F(Writer, GivesUpWhenAnotherKeepsTheLock) {
  const fs::path repo = sandbox_.new_repository();
  write_file(repo / "file", "one");
  const std::string id = commit_all(repo, "one");
  git(repo, {"remote", "add", "origin", repo});
  write_file(repo / "file", "changed");
  fs::current_path(repo);
  const char* words =
      "add_files_to_index . file modified, remove_files_from_index . file, do_pull ., stash_pop ., "
      "do_commit . HEAD me m@x text, merge_branch . main me m@x, reset_file_in_index . file, "
      "reset_to_commit . ID HARD, checkout_branch . main, stash . me m@x, stash_apply ., "
      "stash_drop ., rebase . ID ID me m@x, rebase_operation . ABORT main me m@x, "
      "get_status ., get_commit_log ., diff_file_in_index . file";
  std::istringstream calls(std::regex_replace(words, std::regex("ID"), id));
  const int folder = open(".git", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(folder, LOCK_EX), 0);
  std::vector<std::pair<std::string, std::future<std::string>>> running;
  for (std::string word; std::getline(calls, word, ',');) {
    running.emplace_back(word, start("call " + word));
  }
  for (auto& [call, output] : running) {
    const bool reads = call.starts_with(" get_") || call.starts_with(" diff_");
    const std::string text = output.get();
    EXPECT_EQ(text.find("another process is working in this") == std::string::npos, reads)
        << call << text;
  }
  close(folder);
  EXPECT_EQ(git(repo, {"status", "--porcelain"}), " M file");
}

// As if another process had committed just before the lock was free.
TEST_F(Writer, LooksHeadUpAgainUnderTheLock) {
  const fs::path repo = sandbox_.new_repository();
  commit_all(repo, "one");
  write_file(repo / "file", "x");
  host_.modules().set_lookup_hook([&](std::string_view asked, void* found) {
    if (asked == "git_reset_default") commit_all(repo, "two");
    return found;
  });
  EXPECT_EQ(code("remove_files_from_index", repo, "file"), "0");
  EXPECT_EQ(git(repo, {"status", "--porcelain"}), "");
}

}  // namespace
}  // namespace uwugit::test
