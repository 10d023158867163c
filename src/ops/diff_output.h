// Handing out one file of a diff: into a character variable, or onto an external file.
#pragma once

#include "module/arguments.h"
#include "store/diff_objects.h"

namespace uwugit {

// Fills the variable with the file's attribute of that name, which is upper-cased in place, and
// blanks behind it; with blanks alone when there is no such attribute or it has no value.
void read_diff_attribute(const MeasuredDiffFile* file, const PoolText& name, HostString* variable);

// The same for the content.
void read_diff_content(const MeasuredDiffFile* file, HostString* variable);

// Writes the content as one record onto an external file through the host's file service, which
// logs what goes wrong. False when it answered a negative code.
bool write_content_to_file(const MeasuredDiffFile* file, const PoolText& path);

}  // namespace uwugit
