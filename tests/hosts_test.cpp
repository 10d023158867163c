// The C interface of the host library. What its examples print is in hosts_transcript.txt.
#include <gtest/gtest.h>

#include "support/module_test.h"
#include "uwugithost/uwugithost.h"

namespace uwugit::test {
namespace {

TEST(HostInC, TellsWhatItGivesAndWhatIsWrong) {
  Sandbox sandbox;
  const fs::path folder = sandbox.new_repository();
  write_file(folder / "file", "x");
  const char* const repo = folder.c_str();
  const char* settings[] = {"system-path", kLibraryFolder.c_str(), "module", kModuleFile.c_str(),
                            nullptr};
  uwugithost *host = nullptr, *second = nullptr;
  uwugithost_rows* rows = nullptr;
  std::string lines, end_at = "get_status: comparing files";
  ASSERT_EQ(uwugithost_open(settings, &host), UWUGITHOST_OK) << uwugithost_last_error();
  const auto keep = [](void* kept, int level, const char* text) {
    *static_cast<std::string*>(kept) += std::to_string(level) + " " + text + "\n";
  };
  uwugithost_on_log(host, keep, &lines);
  const auto answer = [](uwugithost_code code) {
    const bool is_failure = code != UWUGITHOST_OK && code != UWUGITHOST_END;
    return std::to_string(code) + " " + (is_failure ? uwugithost_last_error() : "");
  };
  const auto call = [&](const char* function, std::vector<uwugithost_value> values) {
    uwugithost_outcome* made = nullptr;
    const auto code = uwugithost_call(host, function, values.data(), values.size(), &made);
    if (!made) return answer(code);
    double result = -100;
    uwugithost_outcome_code(made, &result);
    std::string text = uwugithost_outcome_is_success(made) ? "0 success " : "0 failure ";
    text += std::to_string(int(result)) + ", " + uwugithost_outcome_meaning(made);
    if (uwugithost_outcome_outputs(made)) text += uwugithost_outcome_output(made, 0, nullptr);
    uwugithost_outcome_free(made);
    return text;
  };
  const auto open = [&](const char* set, const char* place, std::vector<const char*> options = {}) {
    options.push_back(nullptr);
    return answer(uwugithost_rows_open(host, set, place, options.data(), &rows));
  };
  uwugithost_on_progress(
      host,
      [](void* context, const uwugithost_progress* progress) {
        const std::string told = std::string(progress->function) + ": " + progress->work;
        return told == *static_cast<std::string*>(context) ? 1 : 0;
      },
      &end_at);
  EXPECT_EQ(call("get_status", {{repo, 0}}), "5 get_status was interrupted");
  end_at.clear();
  const std::pair<std::string, std::string> answers[] = {
      {call("get_status", {{repo, 0}}), "0 success 1, the number of entries"},
      {call("get_status_attribute", {{nullptr, 1}, {repo, 0}, {"PATH", 0}}), "0 success 0, *file"},
      {call("get_status", {{nullptr, 1}}), "1 get_status: argument 1 (repository) must be a text*"},
      {call("no_function", {}), "1 there is no function 'no_function'"},
      {open("status", repo, {"limit", "1x"}), "1 *'limit' must be a whole number"},
      {open("status", repo, {"x", "1"}), "1 there is no option 'x'"},
      {answer(uwugithost_open(nullptr, &second)), "1 this process has a host already"},
      {open("status", repo, {"staged", "true"}), "0 "},
      {answer(uwugithost_close(host)), "1 rows of this host are still open"},
      {answer(uwugithost_rows_next(rows)), "4 "},
  };
  for (const auto& [given, expected] : answers) EXPECT_PRED2(is_like, given, expected);
  uwugithost_rows_close(rows);
  call("get_status", {{repo, 0}});  // rows have not taken the log away
  EXPECT_PRED2(is_like, lines, "1 *interrupted\n3 Entry: file. *\n3 Entry: file. *\n");
  EXPECT_EQ(uwugithost_close(host), UWUGITHOST_OK);
}

// A column of all rows, as lines.
std::string column(uwugithost* host, const char* set, const fs::path& place, const char* name,
                   std::vector<const char*> options = {}) {
  options.push_back(nullptr);
  uwugithost_rows* rows = nullptr;
  if (uwugithost_rows_open(host, set, place.c_str(), options.data(), &rows) != UWUGITHOST_OK) {
    return uwugithost_last_error();
  }
  const std::size_t place_of_column = uwugithost_rows_find(rows, name);
  std::string lines;
  while (uwugithost_rows_next(rows) == UWUGITHOST_OK) {
    uwugithost_cell cell = {};
    EXPECT_EQ(uwugithost_rows_cell(rows, place_of_column, &cell), UWUGITHOST_OK);
    EXPECT_EQ(uwugithost_rows_cell(rows, uwugithost_rows_columns(rows), &cell), UWUGITHOST_USAGE);
    const bool is_text = uwugithost_rows_column_type(rows, place_of_column) == UWUGITHOST_TEXT;
    lines += cell.is_null ? "null" : is_text ? cell.text : std::to_string(cell.number);
    lines += "\n";
  }
  uwugithost_rows_close(rows);
  return lines;
}

TEST(HostInC, HasTheRowsThatGitHas) {
  Sandbox sandbox;
  const fs::path repo = sandbox.new_repository();
  for (unsigned commit = 1; commit <= 5; ++commit) {
    const std::string number = std::to_string(commit);
    write_file(repo / "folder" / ("file" + number), std::string(commit, '\n'));
    write_file(repo / "always", number + "\n" + std::string(20 * commit, 'x') + "\n");
    commit_all(repo, "commit " + number);
    if (commit == 3) git(repo, {"tag", "-a", "-m", "a tag", "v1"});
  }
  git(repo, {"branch", "other", "HEAD~2"});
  write_file(repo / "always", "changed");
  write_file(repo / "new", "");
  uwugithost* host = nullptr;
  const char* settings[] = {"system-path", kLibraryFolder.c_str(), "module", kModuleFile.c_str(),
                            nullptr};
  ASSERT_EQ(uwugithost_open(settings, &host), UWUGITHOST_OK) << uwugithost_last_error();
  const auto git_lines = [&repo](const std::vector<std::string>& words) {
    return git(repo, words) + "\n";
  };
  EXPECT_EQ(column(host, "commits", repo, "id"), git_lines({"log", "--format=%H"}));
  EXPECT_EQ(column(host, "commits", repo / "folder", "time", {"limit", "2"}),
            git_lines({"log", "-2", "--format=%ct"}));
  EXPECT_EQ(column(host, "parents", repo, "parent"),
            git_lines({"log", "-4", "--skip=1", "--format=%H"}));
  EXPECT_EQ(column(host, "refs", repo, "name"), "main\nother\nv1\n");
  EXPECT_EQ(column(host, "refs", repo, "id"),
            git_lines({"rev-parse", "main", "other", "v1^{commit}"}));
  EXPECT_EQ(column(host, "status", repo, "path"), "always\nnew\n");
  EXPECT_EQ(column(host, "files", repo, "path", {"first", "HEAD~1", "second", "HEAD"}),
            git_lines({"diff", "--name-only", "HEAD~1", "HEAD"}));
  pid_t process = getpid();  // the only one that is told
  const auto end_elsewhere = [](void* own, const uwugithost_progress*) {
    return static_cast<int>(getpid() != *static_cast<pid_t*>(own));
  };
  EXPECT_EQ(uwugithost_on_progress(host, end_elsewhere, &process), UWUGITHOST_OK);
  EXPECT_EQ(column(host, "changes", repo, "path", {"limit", "3"}),
            git_lines({"log", "-3", "--format=", "--name-only"}));
  EXPECT_EQ(column(host, "changes", repo, "additions", {"limit", "1", "jobs", "2"}), "2\n5\n");
  EXPECT_PRED2(is_like, column(host, "commits", sandbox.root(), "id"), "*not in a git repository*");
  EXPECT_EQ(column(host, "nothing", repo, "id"), "there is no set of rows 'nothing'");
  EXPECT_EQ(uwugithost_close(host), UWUGITHOST_OK);
}

}  // namespace
}  // namespace uwugit::test
