#include "format.h"

#include <cstdio>

namespace uwugit::host {

void format_into(std::string& text, const char* format, std::va_list arguments) {
  char buffer[1024];
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
  if (length < 0) {
    text.assign(format);
  } else if (static_cast<std::size_t>(length) < sizeof buffer) {
    text.assign(buffer, static_cast<std::size_t>(length));
  } else {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
}

}  // namespace uwugit::host
