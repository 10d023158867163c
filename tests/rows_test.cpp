// What rows are made of: the records of a diff, texts that are no UTF-8, times, and processes that
// share the work. The rows themselves are tested by the transcripts of the command.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "dates.h"
#include "format/writer.h"
#include "rows/diff_records.h"
#include "rows/workers.h"

namespace uwugit::test {
namespace {

using namespace host;
using runner::append_utf8;

std::string shown(std::string_view content) {
  std::string text;
  DiffRecord record{};
  for (DiffRecords records(content); records.next(&record);) {
    text += "FHCADBN"[static_cast<int>(record.kind)] + std::string(record.text) + "|";
  }
  const DiffCounts counts = count_lines(content);
  return text + std::to_string(counts.additions) + "+" + std::to_string(counts.deletions) + "-" +
         (counts.is_binary ? " binary" : "") + (counts.is_cut ? " cut" : "");
}

#define RECORD(type, value) R"({"type":")" type R"(", "value":")" value R"("})"
constexpr char kNoBreak[] = ",{\"type\":\"no_lf_at_end_of_both_files\", \"value\":\"\n\\ No\n\"}";

TEST(DiffRecords, EndWhereALineBreakIsFollowedByTheNext) {
  const std::string head = RECORD("file_header", "diff\n--- a\n+++ b\n") ",";
  const std::string hunk = head + RECORD("hunk_header", "@@ -1 +1,2 @@ \"},{\"type\":\"\n") ",";
  const std::string shown_head = "Fdiff\n--- a\n+++ b\n|";
  const std::string shown_hunk = shown_head + "H@@ -1 +1,2 @@ \"},{\"type\":\"\n|";
  const std::pair<std::string, std::string> rows[] = {
      {"", "0+0-"},
      {"nonsense", "0+0-"},
      {RECORD("file_header", "x\n"), "Fx\n|0+0-"},
      {head + RECORD("binary", "Binary files\n"), shown_head + "BBinary files\n|0+0- binary"},
      {hunk + RECORD("context", "a\n") "," RECORD("addition", "+\"},{\"type\":\"deletion\n"),
       shown_hunk + "Ca\n|A+\"},{\"type\":\"deletion\n|1+0-"},
      {hunk + RECORD("addition", "+a\n") "," RECORD("addition", "+b") + kNoBreak,
       shown_hunk + "A+a\n|A+b|N\n\\ No\n|2+0- cut"},
      {hunk + RECORD("deletion", "-\n") "," RECORD("addition", "+\n") "," RECORD("addition", "+\n"),
       shown_hunk + "D-\n|A+\n|A+\n|2+1-"},
      {hunk + RECORD("deletion",
                     "-a\"},{\"type\":\"no_lf_at_end_of_both_files\", "
                     "\"value\":\"\n") "," RECORD("addition", "+b\n") "," RECORD("addition", "+"),
       shown_hunk + "D-a\"},{\"type\":\"no_lf_at_end_of_both_files\", "
                    "\"value\":\"\n|A+b\n|A+|2+1-"},
      {hunk + RECORD("context", "a\n") ",{\"type\":\"addition\", \"value\":\"+the content en",
       shown_hunk + "Ca\n|A+the content en|1+0-"},
      {hunk + RECORD("context", "a\n"), shown_hunk + "Ca\n|0+0- cut"},
  };
  for (const auto& [content, expected] : rows) EXPECT_EQ(shown(content), expected);
  EXPECT_TRUE(count_lines(std::string(4'999'999, 'x')).is_cut);
  EXPECT_EQ(patch_text(hunk + RECORD("context", "a\n") "," RECORD("addition", "+b") + kNoBreak),
            "diff\n--- a\n+++ b\n@@ -1 +1,2 @@ \"},{\"type\":\"\n a\n+b\n\\ No\n");
}

TEST(DiffRecords, TellWhereHunksBegin) {
  const auto numbers = [](std::string_view header) {
    const Hunk hunk = parse_hunk(header);
    return std::vector{hunk.old_line, hunk.old_count, hunk.new_line, hunk.new_count};
  };
  EXPECT_EQ(numbers("@@ -12,3 +14 @@ -5 +6\n"), (std::vector<std::int64_t>{12, 3, 14, 1}));
  EXPECT_EQ(numbers("@@ -0,0 +1,20 @@\n"), (std::vector<std::int64_t>{0, 0, 1, 20}));
  EXPECT_EQ(numbers("@@"), (std::vector<std::int64_t>{0, 0, 0, 0}));
}

TEST(Texts, AreMadeValidAndCutToAWidth) {
  setlocale(LC_CTYPE, "C.UTF-8");
  const std::pair<std::string, std::string> rows[] = {
      {"naïve 日本 🙂", "naïve 日本 🙂"},
      {"caf\xE9!", "caf\uFFFD!"},
      {"\xC0\xAF\xED\xA0\x80\xF5",
       "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},  // not the shortest, half
      {"\xE6\x97", "\uFFFD\uFFFD"},
  };
  for (const auto& [given, valid] : rows) {
    std::string text;
    append_utf8(text, given);
    EXPECT_EQ(text, valid);
  }
  EXPECT_EQ(runner::display_width("a日e\u0301"), 4u)
      << "a wide character, and an accent of its own";
  EXPECT_EQ(runner::cut_to_width("日本語", 5), "日本");
  EXPECT_EQ(runner::cut_to_width("ab", 0), "");
}

TEST(Times, AreReadAsPeopleWriteThem) {
  constexpr std::int64_t now = 1'710'504'930;  // 2024-03-15 12:15:30
  const std::pair<const char*, std::int64_t> rows[] = {
      {"2024-03-15", 1'710'460'800},  {"2024-03-15 12:15:30", now},
      {"2024-03-15T12:15:30Z", now},  {"2024-03-15 12:15", now - 30},
      {"2024-03", 1'709'251'200},     {"@1710504930", now},
      {"today", 1'710'460'800},       {"yesterday", 1'710'374'400},
      {"30 days", now - 30 * 86'400}, {"2 weeks ago", now - 14 * 86'400},
      {"1 hour", now - 3600},         {"1 month", now - 29 * 86'400},
      {"1 year", now - 366 * 86'400},
  };
  for (const auto& [text, seconds] : rows)
    EXPECT_EQ(runner::parse_time(text, now), seconds) << text;
  for (const char* text : {"", "soon", "2024-13-01", "3", "3 moons", "3 days later", "@x"}) {
    EXPECT_THROW(runner::parse_time(text, now), std::runtime_error) << text;
  }
}

std::vector<std::int64_t> gather(unsigned jobs, std::size_t chunks, const Workers::Work& work) {
  Workers workers(jobs, chunks, work);
  std::vector<std::int64_t> numbers;
  while (WorkerInput* input = workers.next_row()) numbers.push_back(input->number());
  return numbers;
}

TEST(Workers, AnswerInOrderAndEndWithTheirReader) {
  const auto count = [](std::size_t chunk, WorkerOutput& output) {
    for (std::size_t i = 0; i < chunk % 3; ++i) {
      output.begin_row();
      output.number(static_cast<std::int64_t>(chunk));
    }
  };
  const auto alone = gather(1, 100, count);
  EXPECT_EQ(alone.size(), 99u);
  for (const unsigned jobs : {2u, 3u, 7u, 150u}) EXPECT_EQ(gather(jobs, 100, count), alone);
  EXPECT_TRUE(gather(4, 0, count).empty());
  const auto endless = [](std::size_t, WorkerOutput& output) {
    for (;;) output.begin_row(), output.number(1);
  };
  Workers(3, 3, endless).next_row();  // and it ends them
}

// Each row comes when the signal before it was handled, and so most likely while it was waited for.
TEST(Workers, AreReadOnAfterSignals) {
  static int handled[2];
  ASSERT_EQ(pipe(handled), 0);
  struct sigaction action {};
  action.sa_handler = [](int) { EXPECT_EQ(write(handled[1], "", 1), 1); };
  sigaction(SIGUSR1, &action, nullptr);
  const auto disturb = [](std::size_t, WorkerOutput& output) {
    char byte = 0;
    kill(getppid(), SIGUSR1);
    output.begin_row();
    output.number(read(handled[0], &byte, 1));
  };
  EXPECT_EQ(gather(1, 100, disturb), std::vector<std::int64_t>(100, 1));
}

TEST(Workers, TellWhyTheyCouldNotGoOn) {
  const auto message = [](const Workers::Work& work) {
    try {
      gather(2, 4, work);
    } catch (const RepositoryError& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  EXPECT_EQ(message([](std::size_t chunk, WorkerOutput&) {
              if (chunk == 3) throw RepositoryError("an object is missing");
            }),
            "an object is missing");
  EXPECT_EQ(message([](std::size_t chunk, WorkerOutput&) {
              if (chunk == 1) kill(getpid(), SIGKILL);
            }),
            "a process that compared commits has ended before its work was done");
}

}  // namespace
}  // namespace uwugit::test
