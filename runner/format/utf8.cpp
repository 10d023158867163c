#include <clocale>
#include <cwchar>

#include "format/writer.h"

namespace uwugit::runner {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

struct Character {
  std::size_t length;  // in bytes; 0 when the text does not begin with a valid character
  char32_t code;
};

Character first_character(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (byte(0) < 0x80) return {1, byte(0)};
  const std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
  if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < length) return {0, 0};
  char32_t code = byte(0) & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {0, 0};
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kSmallest[length] || code > 0x10FFFF || is_surrogate) return {0, 0};
  return {length, code};
}

// The C library knows the widths of characters in a locale of UTF-8 only, and the command may run
// in any other.
class WidthsOfUtf8 {
 public:
  WidthsOfUtf8() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (locale) before_ = uselocale(locale);
  }
  ~WidthsOfUtf8() {
    if (before_) uselocale(before_);
  }
  WidthsOfUtf8(const WidthsOfUtf8&) = delete;
  WidthsOfUtf8& operator=(const WidthsOfUtf8&) = delete;

 private:
  locale_t before_ = nullptr;
};

// Where the C library knows no width, as of controls, a character counts as none.
std::size_t width_of(char32_t code) {
  const int width = wcwidth(static_cast<wchar_t>(code));
  return width > 0 ? static_cast<std::size_t>(width) : 0;
}

}  // namespace

void append_utf8(std::string& to, std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = first_character(text).length;
    if (length == 0) to += kReplacement;
    if (length > 0) to += text.substr(0, length);
    text.remove_prefix(length > 0 ? length : 1);
  }
}

void append_one_line(std::string& to, std::string_view text) {
  while (!text.empty()) {
    const Character character = first_character(text);
    const std::size_t length = character.length > 0 ? character.length : 1;
    const bool is_control =
        character.code < ' ' || (character.code >= 0x7F && character.code < 0xA0);
    if (character.length > 0 && is_control) {
      to += ' ';
    } else {
      append_utf8(to, text.substr(0, length));
    }
    text.remove_prefix(length);
  }
}

std::size_t display_width(std::string_view text) {
  const WidthsOfUtf8 widths;
  std::size_t width = 0;
  while (!text.empty()) {
    const Character character = first_character(text);
    width += width_of(character.code);
    text.remove_prefix(character.length > 0 ? character.length : 1);
  }
  return width;
}

std::string_view cut_to_width(std::string_view text, std::size_t width) {
  const WidthsOfUtf8 widths;
  std::size_t end = 0;
  std::size_t used = 0;
  while (end < text.size()) {
    const Character character = first_character(text.substr(end));
    used += width_of(character.code);
    if (used > width) break;
    end += character.length > 0 ? character.length : 1;
  }
  return text.substr(0, end);
}

}  // namespace uwugit::runner
