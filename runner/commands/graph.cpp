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
#include "unfinished_file.h"

namespace uwugit::runner {
namespace {

namespace fs = std::filesystem;

bool is_coloured() { return isatty(STDOUT_FILENO) && !std::getenv("NO_COLOR"); }

using Draw = std::function<void(std::FILE*)>;

// Drawing can throw. Answers the system's error number when the file cannot be written, and else 0.
int draw_into(const fs::path& name, const Draw& draw) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "we"), std::fclose);
  if (!file) return errno;
  draw(file.get());
  const bool is_drawn = !std::ferror(file.get());
  if (std::fclose(file.release()) == 0 && is_drawn) return 0;
  return errno != 0 ? errno : EIO;
}

// What is there and is no file, such as /dev/stdout, is written to as it is.
int write_file(const fs::path& name, const Draw& draw) {
  std::error_code error;
  const bool is_there = fs::exists(name, error);
  if (is_there && !fs::is_regular_file(name, error)) return draw_into(name, draw);
  const UnfinishedFile unfinished(is_there ? fs::canonical(name) : name);
  const int code = draw_into(unfinished.name(), draw);
  if (code == 0) unfinished.put_in_place();
  return code;
}

int draw_file(const std::string& name, const Draw& draw) {
  const int code = write_file(name, draw);
  if (code == 0) return kExitSuccess;
  throw host::RepositoryError("'" + name + "' cannot be written: " + std::strerror(code));
}

}  // namespace

int draw_graph(const SessionOptions& options, const GraphCommand& command) {
  Session session(options);
  const Watchdog::Watch watch = session.watch("graph");
  const Interruptible interruptible;  // so that no unfinished file is left
  const host::Repository repository(session.host(), session.module(), command.place);
  host::RowQuery query;
  query.limit = command.limit;
  query.is_current_branch = command.is_current_branch;
  const CommitGraph graph(repository, query);
  if (!command.svg_file.empty()) {
    return draw_file(command.svg_file, [&](std::FILE* file) { draw_svg(graph, file); });
  }
  if (!command.html_file.empty()) {
    write_file(command.html_file,
               [&](std::FILE* file) { write_page(graph, repository, query, command.diffs, file); });
    return kExitSuccess;
  }
  constexpr std::size_t any_width = std::numeric_limits<std::size_t>::max();
  const std::size_t width = width_of_terminal(stdout, any_width);
  draw_text(graph, {command.is_ascii, is_coloured(), width}, stdout);
  return kExitSuccess;
}

}  // namespace uwugit::runner
