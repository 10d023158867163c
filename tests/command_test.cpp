// The command as its users run it: calls, programs with their expected log, the shell, help.
#include <gtest/gtest.h>

#include <sstream>

#include "process.h"
#include "support/sandbox.h"
#include "uwugithost/catalogue.h"

namespace uwugit::test {
namespace {

const fs::path kSource = UWUGIT_SOURCE_FOLDER;

class Command : public testing::Test {
 protected:
  // Runs the command and answers its output, stdout and stderr as they came.
  runner::CommandResult uwugit(std::vector<std::string> words) {
    words.insert(words.begin(), UWUGIT_COMMAND);
    return runner::run(words);
  }
  runner::CommandResult shell(const std::string& script) {
    return runner::run({"sh", "-c", script});
  }

  Sandbox sandbox_;
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

TEST_F(Command, AnswersWithCodesOutputsAndExitStatus) {
  const fs::path repo = sandbox_.new_repository();
  write_file(repo / "file", "x");
  const std::string path = repo.string();
  const struct {
    std::vector<std::string> words;
    int status;
    std::string output;
  } rows[] = {
      {{"call", "get_status", path},
       0,
       "NOTE: Entry: file. Staged: False. Status: New.\nreturn code: 1\n"},
      {{"call", "get_status_attribute", "1", path, "PATH"},
       1,
       "ERROR: Could not find any status objects. Run GITFN_STATUS on your repo prior to obtaining "
       "repo "
       "status objects.\nreturn code: -2\nvalue: \n"},
      {{"call", "free_status_objects", path}, 1, "return code: 1\n"},
      {{"call", "get_status"},
       2,
       "uwugit: get_status: argument 1 (repository) is missing\nusage: get_status(repository) -> "
       "code\n"},
      {{"call", "get_status_attribute", "-1", path, "--", "PATH"},
       1,
       "ERROR: Could not find any status objects. Run GITFN_STATUS on your repo prior to obtaining "
       "repo status objects.\nreturn code: -2\nvalue: \n"},
      {{"call", "free_status_objects", "--", "--trace"}, 1, "return code: 1\n"},
      {{"call", "nothing"},
       2,
       "uwugit: There is no function nothing. `uwugit functions` lists those there are.\n"},
      {{"call", "--module", "/nothing.so", "git_version"},
       2,
       "uwugit: The module cannot be loaded: /nothing.so: cannot open shared object file: No such "
       "file "
       "or directory\n"},
      {{"call", "--system-path", "/nothing", "get_status", path},
       1,
       "NOTE: libgit2.so not found in the system location, trying the extension path.\n"
       "NOTE: libgit2.so not found in the system location, trying the install path.\n"
       "ERROR: libgit2.so not found.\nERROR: Unable to load libgit2 module.\nreturn code: -1\n"},
      {{"run", "/nothing.lua"}, 1, "uwugit: cannot open /nothing.lua: No such file or directory\n"},
  };
  for (const auto& row : rows) {
    const runner::CommandResult result = uwugit(row.words);
    EXPECT_EQ(result.status, row.status) << testing::PrintToString(row.words);
    EXPECT_EQ(result.output, row.output);
  }
}

TEST_F(Command, ShowsTheFunctionsLookedUpAndTheMemoryHeld) {
  const std::string path = sandbox_.new_repository().string();
  const std::string output = uwugit({"call", "get_status", path, "--trace", "--memory"}).output;
  std::string names;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("TRACE:   ")) continue;
    std::istringstream fields(line.substr(9));
    std::string name;
    double microseconds = -1;
    fields >> name >> microseconds;
    EXPECT_GE(microseconds, 0) << line;
    names += name + " ";
  }
  EXPECT_EQ(names,
            "git_libgit2_version git_libgit2_features git_oid_fmt git_libgit2_init "
            "git_repository_open git_status_list_new git_status_foreach git_status_list_free "
            "git_repository_free "
            "git_libgit2_shutdown ");
  EXPECT_NE(output.find("MEMORY: 1 pools with "), std::string::npos) << output;
  EXPECT_NE(output.find("MEMORY:   repoStatusListPool "), std::string::npos) << output;
}

// Each program in tests/programs, with what it must write beside it.
TEST_F(Command, RunsProgramsWithTheExpectedLog) {
  const fs::path repo = sandbox_.new_repository();
  write_file(repo / "one", "x");
  write_file(repo / "two words", "x");
  git(repo, {"add", "two words"});
  const fs::path program = kSource / "tests/programs/status.lua";
  const runner::CommandResult result =
      uwugit({"run", program.string(), repo.string(), "--trace", "--"});
  EXPECT_EQ(result.status, 1) << "the program ends with an error";
  std::string output = replaced(result.output, repo.string(), "REPO");
  output = replaced(output, program.string(), "PROGRAM");
  EXPECT_EQ(output, read_file(kSource / "tests/programs/status.expected"));
}

TEST_F(Command, RunsEveryExample) {
  for (const fs::directory_entry& entry : fs::directory_iterator(kSource / "examples")) {
    const runner::CommandResult result = uwugit({"run", entry.path().string()});
    EXPECT_EQ(result.status, 0) << entry.path() << "\n" << result.output;
  }
}

TEST_F(Command, HasAShell) {
  const std::string command =
      std::string("printf '%s\\n' ") +
      "'1 + 1' 'for i = 1, 2 do' 'print(i)' 'end' 'nothing.here' 'a b' "
      "'help git_version' 'help me' 'git.free_status_objects(\"x\")' exit | " +
      UWUGIT_COMMAND + " shell 2>&1";
  const std::string output = shell(command).output;
  for (const char* expected :
       {"2\n1\n2\n", "attempt to index a nil value (global 'nothing')", "syntax error near 'b'",
        "git_version() -> code\n", "There is no function me.\n"}) {
    EXPECT_NE(output.find(expected), std::string::npos) << expected << "\n" << output;
  }
  EXPECT_TRUE(output.ends_with("\n1\n")) << output;
}

TEST_F(Command, ExplainsItself) {
  for (const char* word : {"run", "call", "shell", "functions", "info", "encode-password"}) {
    EXPECT_EQ(uwugit({word, "--help"}).status, 0) << word;
    EXPECT_TRUE(uwugit({word, "--version"}).output.starts_with("uwugit ")) << word;
  }
  const std::string list = uwugit({"functions"}).output;
  for (const host::Function& function : host::catalogue()) {
    EXPECT_NE(list.find(function.name), std::string::npos);
    EXPECT_TRUE(
        uwugit({"functions", std::string(function.name)}).output.starts_with(usage(function)));
  }
  const runner::CommandResult info = uwugit({"info"});
  EXPECT_EQ(info.status, 0);
  for (const char* expected :
       {"GIT_PULL (1 to 7 arguments)", "on the system path", "extension path    (none)"}) {
    EXPECT_NE(info.output.find(expected), std::string::npos) << expected << "\n" << info.output;
  }
  EXPECT_EQ(uwugit({}).status, 2);
  EXPECT_EQ(uwugit({"call", "--nonsense"}).status, 2);
}

TEST_F(Command, EncodesPasswords) {
  const std::string command = std::string("echo secret | ") + UWUGIT_COMMAND + " encode-password";
  std::string encoded = shell(command).output;
  ASSERT_TRUE(encoded.starts_with("{uwugit1}")) << encoded;
  encoded.pop_back();
  EXPECT_EQ(host::PasswordService().decode(encoded), "secret");
}

TEST_F(Command, HasUpToDateDocumentation) {
  EXPECT_TRUE(read_file(kSource / "docs/functions.md") ==
              uwugit({"functions", "--markdown"}).output)
      << "make it again with: uwugit functions --markdown > docs/functions.md";
}

}  // namespace
}  // namespace uwugit::test
