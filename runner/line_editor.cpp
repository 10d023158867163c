#include "line_editor.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>

#include "format/wrap.h"
#include "format/writer.h"

namespace uwugit::runner {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kKeptLines = 1000;
constexpr std::size_t kListedWords = 100;

LineEditor* editor_of(EditLine* editor) {
  void* self = nullptr;
  el_get(editor, EL_CLIENTDATA, &self);
  return static_cast<LineEditor*>(self);
}

// How many bytes all words have in common, whole characters only.
std::size_t common_length(const std::vector<std::string>& words) {
  std::size_t length = words.front().size();
  for (const std::string& word : words) {
    const auto [end, other] =
        std::mismatch(words.front().begin(), words.front().end(), word.begin(), word.end());
    length = std::min(length, static_cast<std::size_t>(end - words.front().begin()));
  }
  while (length > 0 && length < words.front().size() && (words.front()[length] & 0xC0) == 0x80) {
    --length;
  }
  return length;
}

// Whether further keys have come already.
bool is_more_waiting() {
  int count = 0;
  return ioctl(STDIN_FILENO, FIONREAD, &count) == 0 && count > 0;
}

// In columns, as a listing of files. Of very many only the first are shown.
void print_words(const std::vector<std::string>& words) {
  const std::size_t shown = std::min(words.size(), kListedWords);
  std::size_t widest = 0;
  for (std::size_t i = 0; i < shown; ++i) widest = std::max(widest, display_width(words[i]));
  const std::size_t columns = std::max<std::size_t>(1, width_of_help() / (widest + 2));
  const std::size_t rows = (shown + columns - 1) / columns;
  std::string text = "\n";
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t i = row; i < shown; i += rows) {
      text += words[i];
      if (i + rows < shown) text.append(widest + 2 - display_width(words[i]), ' ');
    }
    text += '\n';
  }
  if (shown < words.size()) text += "… " + std::to_string(words.size() - shown) + " more\n";
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace

LineEditor::LineEditor(fs::path history_file, Complete complete)
    : history_file_(std::move(history_file)),
      complete_(std::move(complete)),
      history_(history_init(), history_end),
      editor_(el_init("uwugit", stdin, stdout, stderr), el_end) {
  EditLine* const editor = editor_.get();
  el_set(editor, EL_CLIENTDATA, this);
  el_set(
      editor, EL_PROMPT, +[](EditLine* of) { return const_cast<char*>(editor_of(of)->prompt_); });
  el_set(editor, EL_EDITOR, "emacs");
  el_set(editor, EL_SIGNAL, 1);
  el_set(editor, EL_HIST, history, history_.get());
  el_wset(editor, EL_ADDFN, L"cancel-line", L"Cancel the line", cancel_line);
  el_wset(editor, EL_ADDFN, L"complete-word", L"Complete the word", complete_word);
  el_set(editor, EL_BIND, "^I", "complete-word", nullptr);
  el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  // While a line is edited Ctrl-C is a key and sends no signal.
  el_set(editor, EL_SETTY, "-d", "-intr", "intr=", nullptr);
  el_set(editor, EL_BIND, "^C", "cancel-line", nullptr);
  el_source(editor, nullptr);  // what the user has set for all programs
  open_history();
}

// What is typed may be secret: only its owner can read the file.
void LineEditor::open_history() {
  HistEvent event;
  history(history_.get(), &event, H_SETSIZE, static_cast<int>(kKeptLines));
  history(history_.get(), &event, H_SETUNIQUE, 1);
  if (history_file_.empty()) return;
  std::error_code error;
  fs::create_directories(history_file_.parent_path(), error);
  const int file = open(history_file_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0) return history_file_.clear();
  close(file);
  std::deque<std::string> lines;
  std::ifstream earlier(history_file_);
  std::size_t count = 0;
  for (std::string line; std::getline(earlier, line); ++count) {
    lines.push_back(std::move(line));
    if (lines.size() > kKeptLines) lines.pop_front();
  }
  for (const std::string& line : lines) history(history_.get(), &event, H_ENTER, line.c_str());
  if (count < 2 * kKeptLines) return;
  std::ofstream shorter(history_file_);
  for (const std::string& line : lines) shorter << line << '\n';
}

// Each line goes to the end of the file at once, so that shells side by side keep all theirs.
void LineEditor::keep(const std::string& line) {
  if (line.empty() || line.front() == ' ') return;
  HistEvent event;
  history(history_.get(), &event, H_ENTER, line.c_str());
  if (history_file_.empty()) return;
  std::ofstream(history_file_, std::ios::app) << line + '\n';
}

LineEditor::Answer LineEditor::read(const char* prompt, std::string* line) {
  prompt_ = prompt;
  is_cancelled_ = false;
  int length = 0;
  const char* typed = el_gets(editor_.get(), &length);
  if (is_cancelled_) return Answer::kCancelled;
  if (!typed || length <= 0) {
    std::printf("\n");
    return Answer::kEnd;
  }
  line->assign(typed, static_cast<std::size_t>(length));
  while (line->ends_with('\n') || line->ends_with('\r')) line->pop_back();
  keep(*line);
  return Answer::kLine;
}

unsigned char LineEditor::cancel_line(EditLine* editor, int) {
  editor_of(editor)->is_cancelled_ = true;
  std::fputs("^C\n", stdout);
  std::fflush(stdout);
  return CC_NEWLINE;
}

unsigned char LineEditor::complete_word(EditLine* editor, int key) {
  if (is_more_waiting()) {  // the Tab is part of a pasted text
    el_insertstr(editor, "\t");
    return CC_REFRESH;
  }
  const LineInfo* line = el_line(editor);
  const Completions found = editor_of(editor)->complete_({line->buffer, line->cursor});
  if (found.is_file_name) return _el_fn_complete(editor, key);
  if (found.words.empty()) return CC_REFRESH_BEEP;
  const std::size_t common = common_length(found.words);
  if (common > found.typed) {
    el_insertstr(editor, found.words.front().substr(found.typed, common - found.typed).c_str());
    return CC_REFRESH;
  }
  if (found.words.size() == 1) return CC_REFRESH;
  print_words(found.words);
  return CC_REDISPLAY;
}

fs::path usual_history_file() {
  const char* state = std::getenv("XDG_STATE_HOME");
  if (state && *state == '/') return fs::path(state) / "uwugit" / "history";
  const char* home = std::getenv("HOME");
  return home && *home ? fs::path(home) / ".local" / "state" / "uwugit" / "history" : fs::path();
}

}  // namespace uwugit::runner
