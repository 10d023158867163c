// The host's log: where a module's notes and errors go.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace uwugit::host {

struct LogLine {
  static constexpr int kPlain = 0;  // a line without a severity prefix
  static constexpr int kError = 1;
  static constexpr int kNote = 3;

  int level = kPlain;  // the number in the severity prefix
  std::string text;    // formatted, without prefix and without a line break at its end

  // As it is shown: "NOTE: …", "ERROR: …"; other levels as "LOG 2: …"; plain without a prefix.
  std::string rendered() const;
  // "note", "error", "log 2"; "plain" without a prefix.
  std::string severity() const;
};

class Log {
 public:
  using Sink = std::function<void(const LogLine&)>;

  // By default lines go to stderr, in colour on a terminal (not when NO_COLOR is set).
  Log();

  // Replaces where lines go, and answers where they went; an empty sink drops them. A sink may
  // write to the log: the line that it was given is then gone.
  Sink set_sink(Sink sink) { return std::exchange(sink_, std::move(sink)); }
  void reset_sink();

  // A severity prefix ("%1z", "%3z") and a printf-style format. What the arguments hold is data: it
  // is never read as a format.
  void write_formatted(const char* text, std::va_list arguments);

  void error(std::string_view text) { write(LogLine::kError, text); }
  void note(std::string_view text) { write(LogLine::kNote, text); }

  std::size_t errors() const { return errors_; }  // so far

 private:
  void write(int level, std::string_view text);
  void hand_on();

  Sink sink_;
  LogLine line_;  // reused from line to line
  std::size_t errors_ = 0;
};

// Keeps what is logged while it lives, then puts back where lines went before.
class LogCapture {
 public:
  explicit LogCapture(Log& log);
  ~LogCapture() { log_.set_sink(std::move(before_)); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogLine>& lines() const { return lines_; }
  // The rendered lines, one below the other.
  std::string text() const;
  void clear() { lines_.clear(); }

 private:
  Log& log_;
  Log::Sink before_;
  std::vector<LogLine> lines_;
};

}  // namespace uwugit::host
