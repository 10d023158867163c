#include "rows/diff_records.h"

#include <algorithm>
#include <charconv>

namespace uwugit::host {
namespace {

constexpr std::string_view kOpening = "{\"type\":\"";
constexpr std::string_view kBeforeValue = "\", \"value\":\"";
constexpr std::string_view kBetween = "\"},{\"type\":\"";
constexpr std::string_view kEnd = "\"}";
constexpr std::size_t kLongestContent = 4'999'999;

struct KindWord {
  std::string_view word;
  RecordKind kind;
};
constexpr KindWord kKinds[] = {
    {"file_header", RecordKind::kFileHeader}, {"hunk_header", RecordKind::kHunkHeader},
    {"context", RecordKind::kContext},        {"addition", RecordKind::kAddition},
    {"deletion", RecordKind::kDeletion},      {"binary", RecordKind::kBinary},
};

RecordKind kind_of(std::string_view word) {
  for (const KindWord& row : kKinds) {
    if (row.word == word) return row.kind;
  }
  return RecordKind::kNoLineBreak;
}

bool is_line(RecordKind kind) {
  return kind == RecordKind::kContext || kind == RecordKind::kAddition ||
         kind == RecordKind::kDeletion;
}

// The length of a record's text, which the rest begins with.
std::size_t text_length(std::string_view rest, RecordKind kind) {
  for (std::size_t at = rest.find('\n'); at != rest.npos; at = rest.find('\n', at + 1)) {
    const std::string_view behind = rest.substr(at + 1);
    if (behind.starts_with(kBetween) || behind == kEnd) return at + 1;
    if (!is_line(kind)) continue;
    // The line break is the first character of the record that tells of a missing one.
    const std::size_t next = rest.rfind(kBetween, at);
    if (next != rest.npos && rest.substr(0, at).ends_with(kBeforeValue)) return next;
  }
  return rest.ends_with(kEnd) ? rest.size() - kEnd.size() : rest.size();
}

}  // namespace

bool DiffRecords::next(DiffRecord* record) {
  const std::size_t value = rest_.find(kBeforeValue);
  if (!rest_.starts_with(kOpening) || value == rest_.npos) return false;
  record->kind = kind_of(rest_.substr(kOpening.size(), value - kOpening.size()));
  rest_.remove_prefix(value + kBeforeValue.size());
  const std::size_t length = text_length(rest_, record->kind);
  record->text = rest_.substr(0, length);
  rest_.remove_prefix(std::min(length + kEnd.size() + 1, rest_.size()));  // and the comma
  return true;
}

// "@@ -12,3 +14 @@": a count of 1 is left out.
Hunk parse_hunk(std::string_view header) {
  Hunk hunk;
  const char* at = header.data();
  const char* const end = at + header.size();
  const auto read = [&](char sign, std::int64_t* line, std::int64_t* count) {
    at = std::find(at, end, sign);
    if (at == end) return;
    at = std::from_chars(at + 1, end, *line).ptr;
    *count = 1;
    if (at != end && *at == ',') at = std::from_chars(at + 1, end, *count).ptr;
  };
  read('-', &hunk.old_line, &hunk.old_count);
  read('+', &hunk.new_line, &hunk.new_count);
  return hunk;
}

DiffCounts count_lines(std::string_view content) {
  DiffCounts counts;
  DiffRecord record{};
  Hunk left;  // the lines that the hunks promise beyond those that are there
  for (DiffRecords records(content); records.next(&record);) {
    const bool is_context = record.kind == RecordKind::kContext;
    if (record.kind == RecordKind::kHunkHeader) {
      const Hunk hunk = parse_hunk(record.text);
      left.old_count += hunk.old_count;
      left.new_count += hunk.new_count;
    }
    counts.additions += record.kind == RecordKind::kAddition;
    counts.deletions += record.kind == RecordKind::kDeletion;
    counts.is_binary |= record.kind == RecordKind::kBinary;
    left.old_count -= is_context || record.kind == RecordKind::kDeletion;
    left.new_count -= is_context || record.kind == RecordKind::kAddition;
  }
  counts.is_cut = content.size() >= kLongestContent || left.old_count != 0 || left.new_count != 0;
  return counts;
}

std::string patch_text(std::string_view content) {
  std::string patch;
  patch.reserve(content.size());
  DiffRecord record{};
  for (DiffRecords records(content); records.next(&record);) {
    if (record.kind == RecordKind::kContext) patch += ' ';
    patch += record.text;
  }
  return patch;
}

}  // namespace uwugit::host
