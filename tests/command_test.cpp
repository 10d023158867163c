// The command as its users run it.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "process.h"
#include "support/expected.h"
#include "support/module_test.h"

namespace uwugit::test {
namespace {

const fs::path kSource = UWUGIT_SOURCE_FOLDER;
const fs::path kCommand = UWUGIT_COMMAND;

// Runs what stands behind "$ " and "> " as a shell would, in a folder of its own. The lines below
// are what must come out of it, with "[n]" last when the exit status n is not 0. LIBRARY is the
// folder of the module. A line that begins with "# " is a comment. Of a page of the documentation
// this holds for what stands between "```console" and "```"; that of the README is run at a
// terminal.
//
// With UWUGIT_WRITE_EXPECTED=1 in the environment the transcript is written anew instead.
class Command : public testing::TestWithParam<const char*> {};

TEST_P(Command, AnswersAsInTheTranscript) {
  const Sandbox sandbox;
  fs::current_path(sandbox.root());
  setenv("PATH", (kCommand.parent_path().string() + ":" + getenv("PATH")).c_str(), 1);
  setenv("SOURCE", kSource.c_str(), 1);
  setenv("LIBRARY", kLibraryFolder.c_str(), 1);
  const std::regex library(kLibraryFolder.string()), folder(fs::current_path().string());
  fs::create_directory_symlink(kSource / "examples", "examples");
  const fs::path file = kSource / GetParam();
  const bool is_at_terminal = file.filename() == "README.md";
  std::istringstream lines(read_file(file));
  std::string written, command, expected;
  const auto run = [&] {
    if (command.empty()) return;
    std::vector<std::string> words = {"sh", "-c", command};
    if (is_at_terminal) words = {"env", "NO_COLOR=1", "script", "-qec", command, "/dev/null"};
    const auto result = runner::run(words);
    std::string shown = std::regex_replace(in_usual_words(result.output), library, "LIBRARY");
    if (is_at_terminal) std::erase(shown, '\r');
    shown = std::regex_replace(shown, folder, "FOLDER");
    if (result.status != 0) shown += "[" + std::to_string(result.status) + "]\n";
    EXPECT_EQ(shown, expected) << command;
    written += shown;
    command = expected = "";
  };
  bool is_inside = file.extension() == ".txt";
  for (std::string line; std::getline(lines, line);) {
    if (file.extension() == ".md" && (!is_inside || line == "```")) {
      run();
      written += line + "\n";
      is_inside = line == "```console";
      continue;
    }
    const bool is_more = line.starts_with("> ");
    const bool is_output = !is_more && !line.starts_with("$ ") && !line.starts_with("# ");
    if (!is_output && !is_more) run();
    if (!is_output) written += line + "\n";
    if (!is_output && line[0] != '#') command += line.substr(2) + "\n";
    if (is_output) expected += line + "\n";
  }
  run();
  if (getenv("UWUGIT_WRITE_EXPECTED")) write_file(file, written);
}

constexpr const char* kTranscripts[] = {
#ifdef UWUGIT_HAS_PACKAGES
    "tests/install_transcript.txt",
#endif
    "README.md",
    "docs/data.md",
    "docs/graph.md",
    "tests/command_transcript.txt",
    "tests/graph_transcript.txt",
    "tests/hosts_transcript.txt",
    "tests/rows_transcript.txt",
    "tests/sql_transcript.txt"};
INSTANTIATE_TEST_SUITE_P(, Command, testing::ValuesIn(kTranscripts), [](const auto& file) {
  const fs::path path = file.param;
  const std::string stem = path.stem();
  return stem.substr(0, stem.find('_')) + (path.extension() == ".md" ? "Page" : "");
});

}  // namespace
}  // namespace uwugit::test
