#include "format/wrap.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "format/writer.h"

namespace uwugit::runner {
namespace {

constexpr std::size_t kUsualWidth = 80;
constexpr std::size_t kNarrowest = 16;  // a column that is narrower is not worth keeping
constexpr auto npos = std::string_view::npos;

// Where the last column of a line begins, or its first word.
std::size_t last_column(std::string_view line) {
  const std::size_t first = std::min(line.find_first_not_of(' '), line.size());
  const std::size_t gap = line.rfind("  ");
  return gap == npos || gap < first ? first : gap + 2;
}

void append_wrapped(std::string& to, std::string_view line, std::size_t width) {
  const std::size_t first = std::min(line.find_first_not_of(' '), line.size());
  const std::size_t column = last_column(line);
  std::size_t margin = display_width(line.substr(0, column));
  std::string current(line.substr(0, column));
  if (column > first && margin + kNarrowest > width) {  // the last column gets lines of its own
    to += current.substr(0, current.find_last_not_of(' ') + 1) + '\n';
    margin = first + 4;
    current.assign(margin, ' ');
  }
  line.remove_prefix(column);
  std::size_t used = margin;
  for (bool is_first = true; !line.empty(); is_first = false) {
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(line.find_first_not_of(' ', word.size()), line.size()));
    const std::size_t room = display_width(word);
    if (!is_first && used + 1 + room > width) {
      to += current + '\n';
      current.assign(margin, ' ');
      used = margin;
    } else if (!is_first) {
      current += ' ';
      ++used;
    }
    current += word;
    used += room;
  }
  to += current;
}

}  // namespace

std::size_t width_of_terminal(std::FILE* file, std::size_t none) {
  winsize size{};
  const bool is_terminal =
      isatty(fileno(file)) && ioctl(fileno(file), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return is_terminal ? size.ws_col : none;
}

std::string wrapped(std::string_view text, std::size_t width) {
  std::string all;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    if (display_width(line) <= width) {
      all += line;
    } else {
      append_wrapped(all, line, width);
    }
    if (end != npos) all += '\n';
    text.remove_prefix(end == npos ? text.size() : end + 1);
  }
  return all;
}

std::size_t width_of_help() { return width_of_terminal(stdout, kUsualWidth); }

void print_help(std::string_view text) {
  const std::string shown = wrapped(text, width_of_help());
  std::fwrite(shown.data(), 1, shown.size(), stdout);
}

}  // namespace uwugit::runner
