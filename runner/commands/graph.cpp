#include "commands/graph.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>

#include "commands/commands.h"
#include "format/wrap.h"
#include "format/writer.h"
#include "graph/draw.h"
#include "graph/page.h"
#include "interrupt.h"

namespace uwugit::runner {
namespace {

bool is_coloured() { return isatty(STDOUT_FILENO) && !std::getenv("NO_COLOR"); }

// Drawing can throw, also because of Ctrl-C. What is unfinished by then is removed.
int write_file(const std::string& name, const std::function<void(std::FILE*)>& draw) {
  const Interruptible interruptible;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "we"), std::fclose);
  bool is_written = file != nullptr;
  if (file) {
    try {
      draw(file.get());
    } catch (...) {
      std::error_code error;
      if (std::filesystem::is_regular_file(name, error)) std::filesystem::remove(name, error);
      throw;
    }
    is_written = !std::ferror(file.get());
    is_written = std::fclose(file.release()) == 0 && is_written;
  }
  if (is_written) return kExitSuccess;
  std::fprintf(stderr, "uwugit: '%s' cannot be written: %s\n", name.c_str(), std::strerror(errno));
  return kExitFailure;
}

}  // namespace

int draw_graph(const SessionOptions& options, const GraphCommand& command) {
  Session session(options);
  const Watchdog::Watch watch = session.watch("graph");
  const host::Repository repository(session.host(), session.module(), command.place);
  host::RowQuery query;
  query.limit = command.limit;
  query.is_current_branch = command.is_current_branch;
  const CommitGraph graph(repository, query);
  if (!command.svg_file.empty()) {
    return write_file(command.svg_file, [&](std::FILE* file) { draw_svg(graph, file); });
  }
  if (!command.html_file.empty()) {
    return write_file(command.html_file, [&](std::FILE* file) {
      write_page(graph, repository, query, command.diffs, file);
    });
  }
  constexpr std::size_t any_width = std::numeric_limits<std::size_t>::max();
  const std::size_t width = width_of_terminal(stdout, any_width);
  draw_text(graph, {command.is_ascii, is_coloured(), width}, stdout);
  return kExitSuccess;
}

}  // namespace uwugit::runner
