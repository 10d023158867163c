// What the command makes of text for people: broken at words, cut to columns, and names that were
// mistyped.
#include <gtest/gtest.h>

#include <clocale>
#include <random>

#include "format/wrap.h"
#include "format/writer.h"
#include "nearest.h"

namespace uwugit::runner {
namespace {

TEST(Text, IsBrokenAtWords) {
  struct Row {
    std::string_view text;
    std::size_t width;
    const char* expected;
  };
  constexpr Row kRows[] = {
      {"", 20, ""},
      {"short", 20, "short"},
      {"one two three four", 10, "one two\nthree four"},
      {"  one two three four", 12, "  one two\n  three four"},
      {"averyveryverylongword and more", 10, "averyveryverylongword\nand more"},
      {"one\ntwo\n\nthree\n", 20, "one\ntwo\n\nthree\n"},
      {"  --name   what it does in many words", 34,
       "  --name   what it does in many\n           words"},
      {"  --a-long-name-of-an-option  what it does", 30,
       "  --a-long-name-of-an-option\n      what it does"},
      {"日本 日本 日本 日本", 10, "日本 日本\n日本 日本"},
  };
  for (const Row& row : kRows) EXPECT_EQ(wrapped(row.text, row.width), row.expected) << row.text;
}

TEST(Text, KeepsEveryWordAndTheWidthWhenItIsBroken) {
  std::mt19937 random(1);
  const auto words_of = [](const std::string& text) {
    std::string words;
    for (const char c : text) {
      const char blank = c == '\n' ? ' ' : c;
      if (blank != ' ' || (!words.empty() && words.back() != ' ')) words += blank;
    }
    while (!words.empty() && words.back() == ' ') words.pop_back();
    return words;
  };
  for (int round = 0; round < 2000; ++round) {
    const std::size_t width = 30 + random() % 60;
    std::string text(random() % 10, ' ');
    if (round % 2 == 0) text.append(1 + random() % 9, 'o').append(2 + random() % 3, ' ');
    for (std::size_t word = random() % 30; word > 0; --word) {
      text.append(1 + random() % 9, 'x').append(1, ' ');
    }
    const std::string broken = wrapped(text, width);
    EXPECT_EQ(words_of(broken), words_of(text));
    for (std::size_t begin = 0; begin < broken.size();) {
      const std::size_t end = std::min(broken.find('\n', begin), broken.size());
      const std::string_view line(broken.data() + begin, end - begin);
      EXPECT_LE(line.substr(0, line.find_last_not_of(' ') + 1).size(), width) << text;
      begin = end + 1;
    }
  }
}

TEST(Text, IsCutToColumns) {
  setlocale(LC_CTYPE, "C.UTF-8");
  struct Row {
    const char* text;
    std::size_t columns;
    std::size_t width;
    const char* cut;
  };
  constexpr Row kRows[] = {
      {"abc", 3, 2, "ab"},      {"abc", 3, 9, "abc"}, {"naïve", 5, 3, "naï"},
      {"日本語", 6, 5, "日本"}, {"日本語", 6, 1, ""}, {"a\u0301b", 2, 1, "a\u0301"},
      {"", 0, 5, ""},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(display_width(row.text), row.columns) << row.text;
    EXPECT_EQ(cut_to_width(row.text, row.width), row.cut) << row.text;
  }
}

TEST(Text, OfAMistypedNameLeadsToTheNearest) {
  const std::vector<std::string> names = {"status", "stash", "stash_pop", "log", "diff", "do_push"};
  constexpr std::pair<const char*, const char*> kRows[] = {
      {"statsu", "status"},
      {"stauts", "status"},
      {"stats", "status"},
      {"stash_po", "stash_pop"},
      {"lgo", "log"},
      {"dif", "diff"},
      {"do-push", "do_push"},
      {"status", "status"},
      {"completely-else", ""},
      {"x", ""},
      {"", ""},
  };
  for (const auto& [typed, meant] : kRows) {
    const std::string expected =
        *meant ? " Did you mean '" + std::string(meant) + "'?" : std::string();
    EXPECT_EQ(did_you_mean(typed, names), expected) << typed;
  }
}

}  // namespace
}  // namespace uwugit::runner
