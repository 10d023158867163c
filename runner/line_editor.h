// Lines typed at a terminal: edited, completed and kept.
#pragma once

#include <histedit.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace uwugit::runner {

struct Completions {
  std::size_t typed = 0;  // bytes before the cursor that all of them begin with
  std::vector<std::string> words;
  bool is_file_name = false;  // files are to be completed instead
};

class LineEditor {
 public:
  using Complete = std::function<Completions(const std::string& before_cursor)>;

  // Lines of earlier times come from the file, which is made when it is not there. An empty path
  // keeps none.
  LineEditor(std::filesystem::path history_file, Complete complete);
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  enum class Answer { kLine, kCancelled, kEnd };  // Ctrl-C cancels the line, Ctrl-D ends
  Answer read(const char* prompt, std::string* line);

 private:
  static unsigned char cancel_line(EditLine* editor, int key);
  static unsigned char complete_word(EditLine* editor, int key);
  void open_history();
  void keep(const std::string& line);

  std::filesystem::path history_file_;
  Complete complete_;
  const char* prompt_ = "";
  bool is_cancelled_ = false;
  std::unique_ptr<History, void (*)(History*)> history_;
  std::unique_ptr<EditLine, void (*)(EditLine*)> editor_;
};

// Below $XDG_STATE_HOME; empty when there is no home.
std::filesystem::path usual_history_file();

}  // namespace uwugit::runner
