#include "uwugithost/log.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "format.h"

namespace uwugit::host {
namespace {

constexpr char kRed[] = "\033[31m";
constexpr char kBlue[] = "\033[34m";
constexpr char kColourOff[] = "\033[0m";
constexpr std::size_t kPrefixLength = 3;

bool has_severity_prefix(const char* text) {
  return text[0] == '%' && text[1] >= '0' && text[1] <= '9' && text[2] == 'z';
}

void write_to_stderr(const LogLine& line) {
  static const bool is_coloured = isatty(STDERR_FILENO) && !std::getenv("NO_COLOR");
  std::string shown = line.rendered();
  if (is_coloured && line.level != LogLine::kPlain) {
    shown = (line.level == LogLine::kError ? kRed : kBlue) + shown + kColourOff;
  }
  shown += '\n';
  std::fflush(stdout);  // so that the two streams interleave as things happened
  std::fwrite(shown.data(), 1, shown.size(), stderr);
}

}  // namespace

std::string LogLine::rendered() const {
  switch (level) {
    case kPlain:
      return text;
    case kError:
      return "ERROR: " + text;
    case kNote:
      return "NOTE: " + text;
    default:
      return "LOG " + std::to_string(level) + ": " + text;
  }
}

std::string LogLine::severity() const {
  switch (level) {
    case kPlain:
      return "plain";
    case kError:
      return "error";
    case kNote:
      return "note";
    default:
      return "log " + std::to_string(level);
  }
}

Log::Log() { reset_sink(); }

void Log::reset_sink() { sink_ = write_to_stderr; }

void Log::write_formatted(const char* text, std::va_list arguments) {
  line_.level = LogLine::kPlain;
  if (has_severity_prefix(text)) {
    line_.level = text[1] - '0';
    text += kPrefixLength;
  }
  format_into(line_.text, text, arguments);
  if (line_.text.ends_with('\n')) line_.text.pop_back();
  hand_on();
}

void Log::write(int level, std::string_view text) {
  line_.level = level;
  line_.text = text;
  hand_on();
}

void Log::hand_on() {
  if (line_.level == LogLine::kError) ++errors_;
  if (sink_) sink_(line_);
}

LogCapture::LogCapture(Log& log) : log_(log) {
  before_ = log_.set_sink([this](const LogLine& line) { lines_.push_back(line); });
}

std::string LogCapture::text() const {
  std::string all;
  for (const LogLine& line : lines_) all += line.rendered() + "\n";
  return all;
}

}  // namespace uwugit::host
