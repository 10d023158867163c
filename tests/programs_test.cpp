// Runs the programs in tests/programs as their users do. Each must write what stands beside it in
// the file of the same name that ends in ".expected".
#include <gtest/gtest.h>

#include <algorithm>

#include "process.h"
#include "support/expected.h"

namespace uwugit::test {
namespace {

std::vector<std::string> program_names() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(UWUGIT_SOURCE_FOLDER "/tests/programs")) {
    if (entry.path().extension() == ".lua") names.push_back(entry.path().stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class Programs : public testing::TestWithParam<std::string> {
 protected:
  Sandbox sandbox_;
};

TEST_P(Programs, WriteWhatIsExpected) {
  fs::current_path(UWUGIT_SOURCE_FOLDER);  // so that errors tell the same places in each checkout
  const std::string program = "tests/programs/" + GetParam();
  const runner::CommandResult result =
      runner::run({"env", "TMPDIR=" + fs::canonical(sandbox_.root()).string(), "LC_ALL=C.UTF-8",
                   UWUGIT_COMMAND, "run", "--memory", program + ".lua", "--trace", "--"});
  std::string written = result.output;
  // How many pools and blocks are left counts; their bytes and what follows differ in each run.
  for (std::size_t at; (at = written.find(" blocks ")) != std::string::npos;) {
    written.erase(at + sizeof " blocks" - 1, written.find('\n', at) - at - sizeof " blocks" + 1);
  }
  expect_text(program + ".expected",
              written + "exit status " + std::to_string(result.status) + "\n", sandbox_);
}

INSTANTIATE_TEST_SUITE_P(Program, Programs, testing::ValuesIn(program_names()),
                         [](const auto& program) { return program.param; });

}  // namespace
}  // namespace uwugit::test
