// A folder of its own for one test, with its own HOME and git configuration, gone afterwards.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace uwugit::test {

namespace fs = std::filesystem;

class Sandbox {
 public:
  // Points HOME and git's environment here, for this process and those that it starts.
  Sandbox();
  ~Sandbox();
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  const fs::path& root() const { return root_; }

  // A new repository of that name on the branch "main", without commits.
  fs::path new_repository(std::string_view name = "repo");

 private:
  fs::path root_;
};

// Runs git in a repository and answers what it printed, without the last line break. A git that
// fails fails the test.
std::string git(const fs::path& repository, const std::vector<std::string>& arguments);

// The whole working tree as a commit; answers its id.
std::string commit_all(const fs::path& repository, const std::string& message);

// Makes the folders that are missing.
void write_file(const fs::path& file, std::string_view content);
std::string read_file(const fs::path& file);

}  // namespace uwugit::test
