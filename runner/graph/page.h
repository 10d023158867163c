// The commit graph as a page for a browser, in one file.
#pragma once

#include <cstdio>

#include "graph/commit_graph.h"

namespace uwugit::runner {

// The graph must come from the same repository and query. The newest `diffs` commits have their
// changed files in the page. Throws host::RepositoryError.
void write_page(const CommitGraph& graph, const host::Repository& repository,
                const host::RowQuery& query, std::uint64_t diffs, std::FILE* file);

// What is written: this text with the data in place of a mark. It is runner/graph/page.html.
extern const char kPageText[];
inline constexpr char kPageMark[] = "<!--data-->";

}  // namespace uwugit::runner
