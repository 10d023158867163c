#include "log_output.h"

#include <cstdio>

#include "format/writer.h"
#include "uwugithost/call.h"

namespace uwugit::runner {

LogOutput::LogOutput(host::Log& log, const LogOptions& options, StatusLine& status_line)
    : log_(log), options_(options), status_line_(status_line), file_(nullptr, std::fclose) {
  if (!options_.file.empty()) {
    file_.reset(std::fopen(options_.file.c_str(), "ae"));
    if (!file_) throw host::UsageError("the log " + options_.file + " cannot be written");
  }
  usual_ = log_.set_sink([this](const host::LogLine& line) { write(line); });
}

LogOutput::~LogOutput() {
  log_.set_sink(std::move(usual_));
  if (file_ && std::ferror(file_.get())) {
    std::fprintf(stderr, "uwugit: the log %s could not be written\n", options_.file.c_str());
  }
}

void LogOutput::write(const host::LogLine& line) {
  if (options_.is_quiet && !file_ && line.level != host::LogLine::kError) return;
  const StatusLine::Away away(status_line_);
  if (!file_ && !options_.is_json) return usual_(line);
  const std::string shown = (options_.is_json ? json(line) : line.rendered()) + '\n';
  std::FILE* const file = file_ ? file_.get() : stderr;
  std::fflush(stdout);  // which may go to the same place
  std::fwrite(shown.data(), 1, shown.size(), file);
  std::fflush(file);
}

std::string LogOutput::json(const host::LogLine& line) const {
  std::string text = "{\"severity\":";
  append_json_text(text, line.severity());
  text += ",\"text\":";
  append_json_text(text, line.text);
  if (!function_.empty()) {
    text += ",\"function\":";
    append_json_text(text, function_);
  }
  return text + '}';
}

}  // namespace uwugit::runner
