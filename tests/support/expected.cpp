#include "expected.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <regex>
#include <sstream>

namespace uwugit::test {
namespace {

std::string with_numbered_ids(const std::string& text) {
  const std::regex whole_or_short("\\b[0-9a-f]{12}([0-9a-f]{28})?\\b");
  std::map<std::string, std::size_t> numbers;
  std::string numbered;
  auto rest = text.begin();
  for (std::sregex_iterator id(text.begin(), text.end(), whole_or_short), end; id != end; ++id) {
    const std::size_t number = numbers.emplace(id->str(), numbers.size() + 1).first->second;
    numbered.append(rest, (*id)[0].first) += "<id" + std::to_string(number) + ">";
    rest = (*id)[0].second;
  }
  return numbered.append(rest, text.end());
}

// Empty when the two are the same.
std::string first_difference(const std::string& written, const std::string& expected) {
  std::istringstream left(written), right(expected);
  for (int number = 1; left || right; ++number) {
    std::string ours, theirs;
    if (!std::getline(left, ours)) ours = "(the end)";
    if (!std::getline(right, theirs)) theirs = "(the end)";
    if (ours == theirs) continue;
    return "line " + std::to_string(number) + "\n written: " + ours + "\nexpected: " + theirs;
  }
  return {};
}

}  // namespace

void expect_text(const fs::path& file, std::string written, const Sandbox& sandbox) {
  // Programs work in a temporary folder inside the sandbox.
  const std::string root = fs::canonical(sandbox.root());
  for (std::size_t at; (at = written.find(root)) != std::string::npos;) {
    written.replace(at, root.size(), "FOLDER");
  }
  written = std::regex_replace(written, std::regex("FOLDER/uwugit-\\w{6}"), "FOLDER");
  written = with_numbered_ids(written);
  if (std::getenv("UWUGIT_WRITE_EXPECTED")) write_file(file, written);
  EXPECT_EQ(first_difference(written, read_file(file)), "") << file;
}

}  // namespace uwugit::test
