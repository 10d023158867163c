#include "expected.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <regex>
#include <sstream>

namespace uwugit::test {
namespace {

// An id is a word of 40 hexadecimal digits, or of 12 where a program cuts it.
std::string with_numbered_ids(const std::string& text) {
  std::map<std::string, std::size_t> numbers;
  std::string numbered;
  for (auto at = text.begin(); at != text.end();) {
    const auto end = std::find_if_not(at, text.end(), [](unsigned char c) { return isalnum(c); });
    std::string word(at, end);
    const bool is_hexadecimal = word.find_first_not_of("0123456789abcdef") == std::string::npos;
    if (is_hexadecimal && (word.size() == 40 || word.size() == 12)) {
      word = "<id" + std::to_string(numbers.emplace(word, numbers.size() + 1).first->second) + ">";
    }
    numbered += word;
    at = end;
    if (at != text.end()) numbered += *at++;
  }
  return numbered;
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

std::string in_usual_words(const std::string& log) {
  return std::regex_replace(log, std::regex("find repository at '"), "find repository from '");
}

void expect_text(const fs::path& file, std::string written, const Sandbox& sandbox) {
  // Programs work in a temporary folder inside the sandbox.
  const std::string root = fs::canonical(sandbox.root());
  for (std::size_t at; (at = written.find(root)) != std::string::npos;) {
    written.replace(at, root.size(), "FOLDER");
  }
  constexpr std::string_view inner = "/uwugit-XXXXXX/1";
  for (std::size_t at; (at = written.find("FOLDER/uwugit-")) != std::string::npos;) {
    written.erase(at + sizeof "FOLDER" - 1, inner.size());
  }
  written = with_numbered_ids(in_usual_words(written));
  if (std::getenv("UWUGIT_WRITE_EXPECTED")) write_file(file, written);
  EXPECT_EQ(first_difference(written, read_file(file)), "") << file;
}

}  // namespace uwugit::test
