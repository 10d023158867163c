#include "sandbox.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "process.h"

namespace uwugit::test {

Sandbox::Sandbox() : root_(runner::temporary_folder()) {
  const fs::path home = root_ / "home";
  fs::create_directory(home);
  setenv("HOME", home.c_str(), 1);
  setenv("XDG_CONFIG_HOME", (home / ".config").c_str(), 1);
  setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
  setenv("GIT_CONFIG_GLOBAL", (home / ".gitconfig").c_str(), 1);
  write_file(home / ".gitconfig",
             "[user]\n\tname = Test\n\temail = test@example.org\n[init]\n\tdefaultBranch = main\n"
             "[core]\n\tautocrlf = false\n[protocol \"file\"]\n\tallow = always\n");
}

Sandbox::~Sandbox() {
  std::error_code error;
  fs::remove_all(root_, error);
}

fs::path Sandbox::new_repository(std::string_view name) {
  fs::path repository = root_ / name;
  fs::create_directories(repository);
  git(repository, {"init", "--quiet"});
  return repository;
}

std::string git(const fs::path& repository, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {"git", "-C", repository.string()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  runner::CommandResult result = runner::run(command);
  EXPECT_EQ(result.status, 0) << "git " << testing::PrintToString(arguments) << "\n"
                              << result.output;
  if (result.output.ends_with('\n')) result.output.pop_back();
  return result.output;
}

std::string commit_all(const fs::path& repository, const std::string& message) {
  git(repository, {"add", "--all"});
  git(repository, {"commit", "--quiet", "--allow-empty", "--message", message});
  return git(repository, {"rev-parse", "HEAD"});
}

void write_file(const fs::path& file, std::string_view content) {
  fs::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  EXPECT_TRUE(stream.flush().good()) << file;
}

std::string read_file(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  EXPECT_TRUE(stream.good()) << file;
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

}  // namespace uwugit::test
