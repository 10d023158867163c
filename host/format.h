// Formatting for the log and for the formatting operation.
#pragma once

#include <cstdarg>
#include <string>

namespace uwugit::host {

// Formats into `text`, whatever the length. A format that cannot be used is taken as it stands.
void format_into(std::string& text, const char* format, std::va_list arguments);

}  // namespace uwugit::host
