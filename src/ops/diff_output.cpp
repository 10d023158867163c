#include "ops/diff_output.h"

#include "module/arguments.h"
#include "module/upper_case.h"
#include "module/vector_stubs.h"

namespace uwugit {
namespace {

struct Value {
  const char* text;  // null: no value
  std::size_t length;
};

using AttributeReader = Value(const MeasuredDiffFile* file);
struct Attribute {
  const char* name;
  AttributeReader* read;
};
constexpr Attribute kAttributes[] = {
    {"FILE",
     [](const MeasuredDiffFile* file) {
       return Value{file->name, wzstlen(file->name)};
     }},
    {"DIFF_CONTENT",
     [](const MeasuredDiffFile* file) {
       return Value{file->content, file->content_length};
     }},
    {"DIFF_TYPE",
     [](const MeasuredDiffFile* file) {
       return Value{file->changeType, wzstlen(file->changeType)};
     }},
};

void write_padded(Value value, HostString* variable) {
  blank_fill(variable);
  if (value.text) write_value(variable, value.text, value.length);
  take_full_capacity(variable);
}

// Codes of this class (the end of a file) tell of nothing wrong and are not logged.
constexpr unsigned kSignificantBits = 0x803FFFFF;
constexpr unsigned kEndOfDataClass = 0x801;

// Logs the file service's code where it says something; false when it is a failure.
bool is_done(int code) {
  if (code != 0 && (static_cast<unsigned>(code) & kSignificantBits) != kEndOfDataClass) {
    xprrlog(0, code);
  }
  return code >= 0;
}

}  // namespace

void write_diff_attribute(const MeasuredDiffFile* file, char* attribute_name,
                          HostString* variable) {
  toUpperCase(attribute_name);
  Value value = {};
  for (const Attribute& attribute : kAttributes) {
    if (is_same_text(attribute.name, attribute_name)) value = attribute.read(file);
  }
  write_padded(value, variable);
}

void write_diff_content(const MeasuredDiffFile* file, HostString* variable) {
  write_padded({file->content, file->content_length}, variable);
}

bool write_content_to_file(const MeasuredDiffFile* file, const char* path,
                           std::size_t path_length) {
  char reference[kFileReferenceLength + 1] = "        ";  // blank: the host names it
  if (!is_done(xxrasgn(reference, "        ", path, path_length, 0))) return false;
  const FileAttributes attributes = {.direction = kFileOutput,
                                     .organisation = kFileRecords,
                                     .record_length = file->content_length,
                                     .reserved = {}};
  HostFile* opened = nullptr;
  if (!is_done(xxropen(reference, &attributes, &opened)) || !opened) return false;
  if (!is_done(opened->write(opened, file->content, file->content_length))) {
    xxclose(opened);
    return false;
  }
  return is_done(xxclose(opened));
}

}  // namespace uwugit
