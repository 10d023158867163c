// A file's content is a list of JSON objects with commas between them, one for each line of the
// patch: the kind of line from where it comes, and its text as it is, without any escaping. A line
// with a quote or a backslash makes the list invalid JSON; programs rely on the lines being the
// file's own, so that stays.
//
// libgit2 reports a diff file by file. The file of the latest line is therefore almost always that
// of the next; its content grows in one buffer that has room for all that a file may say, and its
// end is kept: a line costs its own length and nothing else. When a line of another file comes, the
// content moves to a block of its length. So a diff costs the memory of its text, in a pool that
// commits untouched memory as well; and twenty thousand short files written through a warm buffer
// cost less than as many fresh pages.

#include "ops/diff_lines.h"

#include <array>
#include <cstring>
#include <string_view>

#include "module/pool.h"
#include "store/diff_objects.h"
#include "support/strings.h"

namespace uwugit {
namespace {

constexpr std::size_t kContentBlock = 5'000'000;  // a longer content is cut: see append()
constexpr std::string_view kClosing = "\"}";

// How a record begins, by the line's origin. A file's first record goes without the comma.
struct Opening {
  char origin;
  std::string_view text;
};
constexpr Opening kOpenings[] = {
    {' ', R"(,{"type":"context", "value":")"},
    {'+', R"(,{"type":"addition", "value":"+)"},
    {'-', R"(,{"type":"deletion", "value":"-)"},
    {'<', R"(,{"type":"old_file_has_lf_at_end_new_doesnt", "value":")"},
    {'=', R"(,{"type":"no_lf_at_end_of_both_files", "value":")"},
    {'>', R"(,{"type":"old_file_has_no_lf_at_end_new_does", "value":")"},
    {'B', R"(,{"type":"binary", "value":")"},
    {'F', R"(,{"type":"file_header", "value":")"},
    {'H', R"(,{"type":"hunk_header", "value":")"},
};

// The same by the origin's number; empty for an origin that is not in the table.
constexpr auto kOpeningOfOrigin = [] {
  std::array<std::string_view, 256> openings;
  openings.fill("");
  for (const Opening& row : kOpenings) openings[static_cast<unsigned char>(row.origin)] = row.text;
  return openings;
}();

const char* change_type(const git_diff_delta* delta) {
  switch (delta->status) {
    case GIT_DELTA_ADDED:
      return "ADDED";
    case GIT_DELTA_DELETED:
      return "DELETED";
    case GIT_DELTA_MODIFIED:
      return "MODIFIED";
    default:
      return nullptr;
  }
}

void append(MeasuredDiffFile* file, std::string_view text) {
  file->content_length =
      wzstcat(file->content, file->content_length, kContentBlock, text.data(), text.size());
}

void append_record(MeasuredDiffFile* file, std::string_view opening, std::string_view line) {
  const std::size_t size = opening.size() + line.size() + kClosing.size();
  if (size >= kContentBlock - file->content_length) {
    for (const std::string_view text : {opening, line, kClosing}) append(file, text);
    return;
  }
  char* to = file->content + file->content_length;
  std::memcpy(to, opening.data(), opening.size());
  std::memcpy(to + opening.size(), line.data(), line.size());
  std::memcpy(to + opening.size() + line.size(), kClosing.data(), kClosing.size());
  to[size] = '\0';
  file->content_length += size;
}

MeasuredDiffFile* add_file(const git_diff_delta* delta, std::string_view name) {
  HostPool* pool = workingDiffObject->pool;
  auto* file = static_cast<MeasuredDiffFile*>(pool->allocate(pool, sizeof(MeasuredDiffFile), 0));
  *file = {};
  file->name = copy_text(pool, name.data(), name.size());
  file->changeType = change_type(delta);
  ++workingDiffObject->extra;
  insertDiffFileObjectAtTail(file);
  return file;
}

// Moves the content of the open file from the buffer to a block of its own.
void close_file(OpenDiffFile* open) {
  MeasuredDiffFile* file = open->file;
  if (file) file->content = copy_text(workingDiffObject->pool, open->buffer, file->content_length);
  open->file = nullptr;
}

// Moves a file's content into the buffer, where it grows. A new file has none yet.
void open_content(OpenDiffFile* open, MeasuredDiffFile* file) {
  HostPool* pool = workingDiffObject->pool;
  if (!open->buffer) open->buffer = static_cast<char*>(pool->allocate(pool, kContentBlock, 0));
  if (file->content) {
    std::memcpy(open->buffer, file->content, file->content_length + 1);
    pool->free_block(pool, file->content);
  }
  file->content = open->buffer;
  open->file = file;
}

// Opens the delta's file in place of the one that was open, and answers whether it is a new one.
// Two deltas may be of one name, as a file that became a link is (deleted and added); trailing
// blanks of names do not count. The lines of both are one file's, and the first gives the change
// type.
bool change_file(OpenDiffFile* open, const git_diff_delta* delta, std::string_view name) {
  close_file(open);
  auto* file = static_cast<MeasuredDiffFile*>(findDiffFileObject(name));
  const bool is_new = !file;
  open_content(open, is_new ? add_file(delta, name) : file);
  return is_new;
}

}  // namespace

int diff_line_cb(const git_diff_delta* delta, const git_diff_hunk*, const git_diff_line* line,
                 void*) {
  OpenDiffFile* open = open_file(workingDiffObject);
  // The path is compared by its characters: libgit2 may use its memory again for the next file.
  const std::string_view name(delta->new_file.path, wzstlen(delta->new_file.path));
  const bool is_same_file = open->file && is_same_text(open->file->name, name);
  const bool is_first = !is_same_file && change_file(open, delta, name);
  std::string_view opening = kOpeningOfOrigin[static_cast<unsigned char>(line->origin)];
  if (is_first && !opening.empty()) opening.remove_prefix(1);     // the comma
  if (open->file->content_length == kContentBlock - 1) return 0;  // nothing more has room
  // A text ends at its NUL: one inside a line would hide the rest of the content from its readers.
  append_record(open->file, opening, {line->content, strnlen(line->content, line->content_len)});
  return 0;
}

int record_lines(GitModule* git, git_diff* diff) {
  const int code = required(GIT(git, git_diff_print), diff, GIT_DIFF_FORMAT_PATCH, diff_line_cb,
                            static_cast<void*>(nullptr));
  HostPool* pool = workingDiffObject->pool;
  OpenDiffFile* open = open_file(workingDiffObject);
  close_file(open);
  if (open->buffer) pool->free_block(pool, open->buffer);
  open->buffer = nullptr;
  return code;
}

}  // namespace uwugit
