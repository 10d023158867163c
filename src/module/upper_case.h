#pragma once

namespace uwugit {

// Upper-cases a NUL-terminated string in place by the host's table.
void toUpperCase(char* text);

}  // namespace uwugit
