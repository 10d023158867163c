// The files of a diff, one after the other, with the records that the module keeps of each.
#pragma once

#include "rows/readers.h"

namespace uwugit::host {

struct DiffFile {
  std::string_view path;
  std::string_view type;     // "added", "deleted", "modified", or empty for any other change
  std::string_view content;  // see diff_records.h
};

class DiffFiles {
 public:
  virtual ~DiffFiles() = default;
  // False when there are no more. What the file refers to lives until the next one.
  virtual bool next(DiffFile* file) = 0;
};

// Between two commits, each named as people name it; see RowQuery.
std::unique_ptr<DiffFiles> open_diff(const Repository& repository, const RowQuery& query);

// Between two commits by their whole ids; an empty first one is "nothing".
std::unique_ptr<DiffFiles> diff_of_ids(const Repository& repository, const std::string& first,
                                       const std::string& second);

}  // namespace uwugit::host
