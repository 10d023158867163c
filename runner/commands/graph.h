// The command that draws the commit graph.
#pragma once

#include <cstdint>
#include <string>

#include "session.h"

namespace uwugit::runner {

struct GraphCommand {
  std::string place = ".";  // a folder in the repository
  std::uint64_t limit = UINT64_MAX;
  bool is_current_branch = false;
  bool is_ascii = false;
  std::string svg_file;       // in place of the text
  std::string html_file;      // the same
  std::uint64_t diffs = 200;  // commits whose files are in the page
};

// Answers the exit status.
int draw_graph(const SessionOptions& options, const GraphCommand& command);

}  // namespace uwugit::runner
