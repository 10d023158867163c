// The records of a file's diff, as the module keeps them: one for each line of the patch, with the
// lines as they are. This is the one place that knows how they are told apart.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace uwugit::host {

enum class RecordKind {
  kFileHeader,
  kHunkHeader,
  kContext,
  kAddition,
  kDeletion,
  kBinary,
  kNoLineBreak,  // the line before it has no line break at its end
};

struct DiffRecord {
  RecordKind kind;
  std::string_view text;  // as in a patch, but a context line is without the blank before it
};

// A record ends where a line break is followed by the beginning of the next one; a line has no line
// break inside. A line without one is followed by a record of its own, whose text begins with one.
class DiffRecords {
 public:
  explicit DiffRecords(std::string_view content) : rest_(content) {}
  bool next(DiffRecord* record);

 private:
  std::string_view rest_;
};

// Where a hunk begins, and how many lines of each side it has.
struct Hunk {
  std::int64_t old_line = 0;
  std::int64_t old_count = 0;
  std::int64_t new_line = 0;
  std::int64_t new_count = 0;
};
Hunk parse_hunk(std::string_view header);

struct DiffCounts {
  std::int64_t additions = 0;
  std::int64_t deletions = 0;
  bool is_binary = false;
  // The records are not all of the diff: beyond 5,000,000 bytes, and behind a NUL in a line, there
  // are no more.
  bool is_cut = false;
};
DiffCounts count_lines(std::string_view content);

// The records put together: a patch of the file.
std::string patch_text(std::string_view content);

}  // namespace uwugit::host
