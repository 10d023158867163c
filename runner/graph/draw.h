// A commit graph as text and as a picture.
#pragma once

#include <cstddef>
#include <cstdio>

#include "graph/commit_graph.h"

namespace uwugit::runner {

struct TextStyle {
  bool is_ascii = false;
  bool is_coloured = false;
  std::size_t width;  // of a line
};
void draw_text(const CommitGraph& graph, const TextStyle& style, std::FILE* file);

void draw_svg(const CommitGraph& graph, std::FILE* file);

}  // namespace uwugit::runner
