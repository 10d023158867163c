// A file's content is a list of JSON objects with commas between them, one for each line of the
// patch: the kind of line from where it comes, and its text as it is, without any escaping. A line
// with a quote or a backslash makes the list invalid JSON; programs rely on the lines being the
// file's own, so that stays.
//
// libgit2 reports a diff file by file. The file of the latest line is therefore almost always that
// of the next; its content grows in one buffer that has room for all that a file may say, and its
// end is kept: a line costs its own length and nothing else. When a line of another file comes, the
// content moves to a block of its length; the last file takes the buffer over. So a diff costs the
// memory of its text, in a pool that commits untouched memory as well; and twenty thousand short
// files written through a warm buffer cost less than as many fresh pages.

#include "ops/diff_lines.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "module/pool.h"
#include "store/diff_objects.h"
#include "support/strings.h"

namespace uwugit {
namespace {

constexpr std::size_t kContentBlock = 5'000'000;  // what goes beyond it is dropped
constexpr std::string_view kClosing = "\"}";

// How a record begins, by the line's origin. A file's first record goes without the comma.
struct Opening {
  constexpr Opening(char of, std::string_view words)
      : origin(of), length(static_cast<unsigned char>(words.size())) {
    std::copy(words.begin(), words.end(), text);
  }
  char origin;
  unsigned char length;
  char text[62] = {};
};
constexpr Opening kOpenings[] = {
    {'\0', ""},  // any origin that is not listed
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

// The place of an origin's row among them.
constexpr auto kRowOfOrigin = [] {
  std::array<unsigned char, 256> rows = {};
  for (std::size_t row = 1; row < std::size(kOpenings); ++row) {
    rows[static_cast<unsigned char>(kOpenings[row].origin)] = static_cast<unsigned char>(row);
  }
  return rows;
}();

const Opening& opening_of(const git_diff_line* line) {
  return kOpenings[kRowOfOrigin[static_cast<unsigned char>(line->origin)]];
}

// A text ends at its NUL: one inside a line would hide the rest of the content from its readers.
std::string_view text_of(const git_diff_line* line) {
  return {line->content, strnlen(line->content, line->content_len)};
}

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

bool is_full(const MeasuredDiffFile* file) { return file->content_length == kContentBlock - 1; }

void append_what_fits(MeasuredDiffFile* file, std::string_view opening, std::string_view line) {
  for (const std::string_view text : {opening, line, kClosing}) {
    file->content_length =
        wzstcat(file->content, file->content_length, kContentBlock, text.data(), text.size());
  }
}

// The same where all of it has room. An opening is copied with the room behind it, as copying costs
// less when the length is known beforehand; the line overwrites what is too much.
void append(MeasuredDiffFile* file, const git_diff_line* line) {
  const Opening& opening = opening_of(line);
  const std::string_view text = text_of(line);
  const std::size_t size = opening.length + text.size() + kClosing.size();
  if (size + sizeof opening.text >= kContentBlock - file->content_length) {
    return append_what_fits(file, {opening.text, opening.length}, text);
  }
  char* to = file->content + file->content_length;
  std::memcpy(to, opening.text, sizeof opening.text);
  to += opening.length;
  std::memcpy(to, text.data(), text.size());
  std::memcpy(to + text.size(), kClosing.data(), kClosing.size() + 1);
  file->content_length += size;
}

// A file's first record.
void append_first(MeasuredDiffFile* file, const git_diff_line* line) {
  const Opening& opening = opening_of(line);
  std::string_view words(opening.text, opening.length);
  if (!words.empty()) words.remove_prefix(1);  // the comma
  append_what_fits(file, words, text_of(line));
}

MeasuredDiffFile* add_file(const git_diff_delta* delta) {
  HostPool* pool = workingDiffObject->pool;
  auto* file = static_cast<MeasuredDiffFile*>(pool->allocate(pool, sizeof(MeasuredDiffFile), 0));
  *file = {};
  file->name = copy_text(pool, delta->new_file.path, wzstlen(delta->new_file.path));
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

// Opens the delta's file in place of the one that was open, and adds the line. Two deltas may be of
// one name, as a file that became a link is (deleted and added); trailing blanks of names do not
// count. The lines of both are one file's, and the first gives the change type.
//
// Inlined, it would make every line of a file that is open already slower.
[[gnu::noinline]] int take_line_of_another_file(const git_diff_delta* delta,
                                                const git_diff_line* line) {
  OpenDiffFile* open = open_file(workingDiffObject);
  MeasuredDiffFile* file = file_named(workingDiffObject, delta->new_file.path);
  const bool is_new = !file;
  if (is_new) file = add_file(delta);
  if (file != open->file) {
    close_file(open);
    open_content(open, file);
  }
  is_new ? append_first(file, line) : append(file, line);
  return 0;
}

}  // namespace

int diff_line_cb(const git_diff_delta* delta, const git_diff_hunk*, const git_diff_line* line,
                 void*) {
  MeasuredDiffFile* file = open_file(workingDiffObject)->file;
  // Names are compared by their characters: libgit2 may use the memory of a path again for the next
  // file.
  if (!file || std::strcmp(file->name, delta->new_file.path) != 0) {
    return take_line_of_another_file(delta, line);
  }
  if (!is_full(file)) append(file, line);
  return 0;
}

int record_lines(GitModule* git, git_diff* diff) {
  const int code = required(GIT(git, git_diff_print), diff, GIT_DIFF_FORMAT_PATCH, diff_line_cb,
                            static_cast<void*>(nullptr));
  HostPool* pool = workingDiffObject->pool;
  OpenDiffFile* open = open_file(workingDiffObject);
  if (MeasuredDiffFile* last = open->file) {  // takes the buffer over, cut to its length
    void* content = pool->reallocate(pool, open->buffer, last->content_length + 1, 0);
    last->content = static_cast<char*>(content);
  }
  *open = {};
  return code;
}

}  // namespace uwugit
