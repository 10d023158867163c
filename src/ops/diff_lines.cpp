// A file's content is a list of JSON objects with commas between them, one for each line of the
// patch: the kind of line from where it comes, and its text as it is, without any escaping. A line
// with a quote or a backslash makes the list invalid JSON; programs rely on the lines being the
// file's own, so that stays.
//
// libgit2 reports a diff file by file. The file of the latest line is therefore almost always that
// of the next; its content grows in one buffer that has room for all that a file may say, and its
// end is kept: a line costs its own length and nothing else. When the next file begins, the content
// moves to a block of its length. So a diff costs the memory of its text, in a pool that commits
// untouched memory as well; and twenty thousand short files written through a warm buffer cost less
// than as many fresh pages.

#include "ops/diff_lines.h"

#include <array>
#include <cstring>
#include <string_view>
#include <unordered_map>

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

// The state of one print.
struct Print {
  const char* path = nullptr;  // of the latest line: libgit2's own, it lives as long as the diff
  MeasuredDiffFile* file = nullptr;  // its record, whose content is in the buffer
  char* buffer = nullptr;            // takes the content of the current file

  std::string_view highest;  // name until now; libgit2 reports names in ascending order
  // Files by name without trailing blanks, filled when a name is not above all others; then the
  // first file that is not in it yet.
  std::unordered_map<std::string_view, MeasuredDiffFile*> files;
  DiffFileObject** unlisted = nullptr;
};
Print* current_print = nullptr;  // the callback has no payload

void append(MeasuredDiffFile* file, std::string_view text) {
  file->content_length =
      wzstcat(file->content, file->content_length, kContentBlock, text.data(), text.size());
}

void append_record(MeasuredDiffFile* file, std::string_view opening, std::string_view line) {
  const std::size_t size = opening.size() + line.size() + kClosing.size();
  if (size >= kContentBlock - file->content_length) {
    append(file, opening);
    append(file, line);
    append(file, kClosing);
    return;
  }
  char* to = file->content + file->content_length;
  std::memcpy(to, opening.data(), opening.size());
  std::memcpy(to + opening.size(), line.data(), line.size());
  std::memcpy(to + opening.size() + line.size(), kClosing.data(), kClosing.size());
  to[size] = '\0';
  file->content_length += size;
}

std::string_view without_trailing_blanks(std::string_view name) {
  return name.substr(0, name.find_last_not_of(' ') + 1);
}

// The file that has that name already, or null.
MeasuredDiffFile* find_earlier(Print* print, std::string_view name) {
  if (wzstcom(name.data(), name.size(), print->highest.data(), print->highest.size()) > 0) {
    print->highest = name;
    return nullptr;
  }
  for (; *print->unlisted; print->unlisted = &(*print->unlisted)->next) {
    auto* file = static_cast<MeasuredDiffFile*>(*print->unlisted);
    print->files.emplace(without_trailing_blanks(file->name), file);
  }
  const auto known = print->files.find(without_trailing_blanks(name));
  return known == print->files.end() ? nullptr : known->second;
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

// Gives the current file's content a block of its own.
void keep_content(Print* print) {
  MeasuredDiffFile* file = print->file;
  if (file) file->content = copy_text(workingDiffObject->pool, print->buffer, file->content_length);
}

// Makes the delta's file the current one. Two deltas may be of one name, as a file that became a
// link is (deleted and added); trailing blanks of names do not count. The lines of both are one
// file's, and the first gives the change type. Answers whether the file is new.
bool enter_file(Print* print, const git_diff_delta* delta) {
  keep_content(print);
  print->path = delta->new_file.path;
  const std::string_view name(print->path, wzstlen(print->path));
  print->file = find_earlier(print, name);
  const bool is_new = !print->file;
  if (is_new) {
    print->file = add_file(delta, name);
  } else {
    HostPool* pool = workingDiffObject->pool;
    std::memcpy(print->buffer, print->file->content, print->file->content_length + 1);
    pool->free_block(pool, print->file->content);
  }
  print->file->content = print->buffer;
  return is_new;
}

}  // namespace

int diff_line_cb(const git_diff_delta* delta, const git_diff_hunk*, const git_diff_line* line,
                 void*) {
  Print* print = current_print;
  const bool is_same_file = print->file && delta->new_file.path == print->path;
  const bool is_first = !is_same_file && enter_file(print, delta);
  std::string_view opening = kOpeningOfOrigin[static_cast<unsigned char>(line->origin)];
  if (is_first && !opening.empty()) opening.remove_prefix(1);
  if (print->file->content_length == kContentBlock - 1) return 0;  // nothing more has room
  // A text ends at its NUL: one inside a line would hide the rest of the content from its readers.
  append_record(print->file, opening, {line->content, strnlen(line->content, line->content_len)});
  return 0;
}

int print_diff(GitModule* git, git_diff* diff) {
  auto* print_patch = GIT(git, git_diff_print);
  if (!print_patch) return -1;
  HostPool* pool = workingDiffObject->pool;
  Print print;
  print.buffer = static_cast<char*>(pool->allocate(pool, kContentBlock, 0));
  print.unlisted = &workingDiffObject->firstFile;
  current_print = &print;
  const int code = print_patch(diff, GIT_DIFF_FORMAT_PATCH, diff_line_cb, nullptr);
  keep_content(&print);
  current_print = nullptr;
  pool->free_block(pool, print.buffer);
  return code;
}

}  // namespace uwugit
