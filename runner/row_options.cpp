#include "row_options.h"

#include <ctime>
#include <thread>

#include "dates.h"

namespace uwugit::runner {
namespace {

void add_common(CLI::App* command, RowsCommand* rows) {
  command->add_option("--columns", rows->columns, "The columns to show, in this order")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("NAME,...");
  command->footer("In other formats than a table all columns are shown. docs/data.md tells them.");
}

void add_format(CLI::App* command, RowsCommand* rows, const char* more = "") {
  command
      ->add_option(
          "--format", rows->format,
          std::string("table, csv, json, jsonl") + more + " (a table on a terminal, csv elsewhere)")
      ->type_name("FORMAT");
}

void add_time(CLI::App* command, const char* name, std::int64_t* seconds, const char* what) {
  command
      ->add_option_function<std::string>(
          name,
          [seconds](const std::string& text) { *seconds = parse_time(text, std::time(nullptr)); },
          what)
      ->type_name("TIME");
}

// Which commits.
void add_limits(CLI::App* command, RowsCommand* rows) {
  host::RowQuery& query = rows->query;
  command->add_option("-n,--max-count", query.limit, "At most so many commits")->type_name("N");
  command->add_flag("--branch", query.is_current_branch, "Only those of the current branch");
  command->add_flag_function(
      "--merges", [&query](auto) { query.merges = true; }, "Only merges");
  command->add_flag_function(
      "--no-merges", [&query](auto) { query.merges = false; }, "No merges");
  add_time(command, "--since,--after", &query.since, "As in 2024-01-31, \"30 days\", yesterday");
  add_time(command, "--until,--before", &query.until, "The same");
  command->add_option("--author", query.author, "Part of the author's name or e-mail address");
  command->add_option("--grep", query.text, "Part of the message");
}

void add_status(CLI::App* command, RowsCommand* rows) {
  rows->set = "status";
  add_format(command, rows);
  auto* staged = command->add_flag_function(
      "--staged", [rows](auto) { rows->query.is_staged = true; }, "Only what is staged");
  command
      ->add_flag_function(
          "--unstaged", [rows](auto) { rows->query.is_staged = false; }, "Only what is not")
      ->excludes(staged);
}

void add_log(CLI::App* command, RowsCommand* rows) {
  rows->set = "commits";
  add_format(command, rows);
  add_limits(command, rows);
}

void add_refs(CLI::App* command, RowsCommand* rows) {
  rows->set = "refs";
  add_format(command, rows);
}

void add_changes(CLI::App* command, RowsCommand* rows) {
  rows->set = "changes";
  rows->query.jobs = std::max(1u, std::thread::hardware_concurrency());
  add_format(command, rows);
  add_limits(command, rows);
  command->add_option("-j,--jobs", rows->query.jobs, "Processes that compare commits")
      ->check(CLI::Range(1, 256))
      ->type_name("N")
      ->capture_default_str();
}

// Without commits HEAD is compared with the working tree; with one, it with HEAD.
void add_diff(CLI::App* command, RowsCommand* rows) {
  rows->set = "files";
  rows->query.first = "HEAD";
  rows->query.second = host::kWorkingTree;
  add_format(command, rows, ", stat, numstat, patch");
  auto* first =
      command->add_option("OLD", rows->query.first, "A commit: a branch, a tag, an id, HEAD~2");
  auto* second = command->add_option("NEW", rows->query.second, "The commit to compare it with");
  first->needs(second);
  command
      ->add_flag_function(
          "--staged,--cached", [rows](auto) { rows->query.second = host::kIndex; },
          "HEAD against the index")
      ->excludes(first);
  command->add_flag_function(
      "--lines", [rows](auto) { rows->set = "lines"; }, "A row for each line instead of each file");
  command->add_option("--path", rows->query.path, "Only this file");
}

}  // namespace

void add_row_options(CLI::App* command, RowsCommand* rows) {
  static constexpr std::pair<const char*, void (*)(CLI::App*, RowsCommand*)> kCommands[] = {
      {"status", add_status}, {"log", add_log},         {"refs", add_refs},
      {"diff", add_diff},     {"changes", add_changes},
  };
  for (const auto& [word, add] : kCommands) {
    if (command->get_name() == word) add(command, rows);
  }
  add_common(command, rows);
}

}  // namespace uwugit::runner
