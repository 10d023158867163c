// Handing out one file of a diff: into a character variable, or onto an external file.
#pragma once

#include "store/diff_objects.h"

namespace uwugit {

// Fills the variable with the file's attribute of that name, which is upper-cased in place, and
// with blanks behind it; only with blanks when there is no such attribute or it has no value.
void write_diff_attribute(const MeasuredDiffFile* file, char* attribute_name, HostString* variable);

// The same for the content.
void write_diff_content(const MeasuredDiffFile* file, HostString* variable);

// Writes the content as one record onto an external file through the host's file service, which
// logs what goes wrong. False when it answered a negative code.
bool write_content_to_file(const MeasuredDiffFile* file, const char* path, std::size_t path_length);

}  // namespace uwugit
