#include "uwugithost/log.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace uwugit::host {
namespace {

constexpr char kRed[] = "\033[31m";
constexpr char kBlue[] = "\033[34m";
constexpr char kPlain[] = "\033[0m";
constexpr int kErrorLevel = 1;
constexpr int kNoteLevel = 3;

bool has_severity_prefix(const char* text) {
  return text[0] == '%' && text[1] >= '0' && text[1] <= '9' && text[2] == 'z';
}

void write_to_stderr(const LogLine& line) {
  static const bool is_coloured = isatty(STDERR_FILENO) && !std::getenv("NO_COLOR");
  const char* colour = line.severity == Severity::kError ? kRed : kBlue;
  std::string shown = line.rendered();
  if (is_coloured && line.level != 0) shown = colour + shown + kPlain;
  shown += '\n';
  std::fflush(stdout);  // so that the two streams interleave as things happened
  std::fwrite(shown.data(), 1, shown.size(), stderr);
}

}  // namespace

void format_into(std::string& text, const char* format, std::va_list arguments) {
  char buffer[1024];
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
  if (length < 0) {
    text.assign(format);
  } else if (static_cast<std::size_t>(length) < sizeof buffer) {
    text.assign(buffer, static_cast<std::size_t>(length));
  } else {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
}

std::string LogLine::rendered() const {
  switch (level) {
    case 0:
      return text;
    case kErrorLevel:
      return "ERROR: " + text;
    case kNoteLevel:
      return "NOTE: " + text;
    default:
      return "LOG " + std::to_string(level) + ": " + text;
  }
}

Log::Log() { reset_sink(); }

void Log::reset_sink() { sink_ = write_to_stderr; }

void Log::write_formatted(const char* text, std::va_list arguments) {
  line_.level = 0;
  if (has_severity_prefix(text)) {
    line_.level = text[1] - '0';
    text += 3;
  }
  line_.severity = line_.level == kErrorLevel  ? Severity::kError
                   : line_.level == kNoteLevel ? Severity::kNote
                                               : Severity::kOther;
  format_into(line_.text, text, arguments);
  if (!line_.text.empty() && line_.text.back() == '\n') line_.text.pop_back();
  if (sink_) sink_(line_);
}

void Log::write(Severity severity, int level, std::string_view text) {
  line_.severity = severity;
  line_.level = level;
  line_.text = text;
  if (sink_) sink_(line_);
}

LogCapture::LogCapture(Log& log) : log_(log) {
  log_.set_sink([this](const LogLine& line) { lines_.push_back(line); });
}

std::string LogCapture::text() const {
  std::string all;
  for (const LogLine& line : lines_) all += line.rendered() + "\n";
  return all;
}

}  // namespace uwugit::host
