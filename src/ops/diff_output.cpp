#include "ops/diff_output.h"

#include "module/vector_stubs.h"
#include "ops/attributes.h"

namespace uwugit {
namespace {

void write_content(const MeasuredDiffFile* file, HostPool*, HostString* variable) {
  write_value(variable, file->content, file->content_length);
}

constexpr Attribute<MeasuredDiffFile> kAttributes[] = {
    {"FILE", write_text<&DiffFileObject::name>},
    {"DIFF_CONTENT", write_content},
    {"DIFF_TYPE", write_text<&DiffFileObject::changeType>},
};

// Logs the file service's code where it says something; false when it is a failure.
bool is_done(int code) {
  if (code != 0 && significant_bits(code) != kEndOfData) xprrlog(0, code);
  return code >= 0;
}

}  // namespace

void read_diff_attribute(const MeasuredDiffFile* file, const PoolText& name, HostString* variable) {
  read_attribute(kAttributes, file, name, variable);
}

void read_diff_content(const MeasuredDiffFile* file, HostString* variable) {
  blank_fill(variable);
  write_content(file, nullptr, variable);
  take_full_capacity(variable);
}

bool write_content_to_file(const MeasuredDiffFile* file, const PoolText& path) {
  char reference[kFileReferenceLength + 1] = "        ";  // blank: the host names it
  if (!is_done(xxrasgn(reference, "        ", path.text, path.length, 0))) return false;
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
