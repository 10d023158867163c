#include <algorithm>

#include "rows/readers.h"

namespace uwugit::host {

// The columns lie in other files, so this is made at the first use.
std::span<const RowSet> row_sets() {
  static const RowSet kSets[] = {
      {"status", "The changed files of the working tree and the index.", kStatusColumns, false,
       open_status},
      {"commits", "The history: every commit that HEAD, a branch, a tag or the stash reaches.",
       kCommitColumns, false, open_commits},
      {"parents", "The parents of each commit.", kParentColumns, false, open_parents},
      {"refs", "Branches, tags and the stash.", kRefColumns, false, open_refs},
      {"changes", "The files that each commit changed against its first parent.", kChangeColumns,
       false, open_changes},
      {"files", "The files that differ between two commits.", kFileColumns, true, open_files},
      {"lines", "The lines of the patch between two commits.", kLineColumns, true, open_lines},
  };
  return kSets;
}

const RowSet* find_row_set(std::string_view name) {
  const auto sets = row_sets();
  const auto found = std::find_if(sets.begin(), sets.end(),
                                  [name](const RowSet& set) { return set.name == name; });
  return found == sets.end() ? nullptr : &*found;
}

int RowSet::find(std::string_view column) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].name == column) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace uwugit::host
