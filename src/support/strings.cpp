#include "support/strings.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace uwugit {

std::size_t wzstlen(const char* text) { return text ? std::strlen(text) : 0; }

namespace {

// Compares what one text has beyond the other with blanks.
int compare_with_blanks(const char* text, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    if (text[i] != ' ') return static_cast<unsigned char>(text[i]) < ' ' ? -1 : 1;
  }
  return 0;
}

}  // namespace

int wzstcom(const char* left, std::size_t left_length, const char* right,
            std::size_t right_length) {
  const std::size_t common = std::min(left_length, right_length);
  if (common > 0) {
    if (const int order = std::memcmp(left, right, common); order != 0) return order;
  }
  if (left_length > common) return compare_with_blanks(left + common, left_length - common);
  if (right_length > common) return -compare_with_blanks(right + common, right_length - common);
  return 0;
}

std::size_t wzstcat(char* text, std::size_t length, std::size_t capacity, const char* addition,
                    std::size_t addition_length) {
  if (length + 1 >= capacity) return length;
  const std::size_t taken = std::min(addition_length, capacity - 1 - length);
  if (taken > 0) std::memcpy(text + length, addition, taken);
  text[length + taken] = '\0';
  return length + taken;
}

void wzclchr(std::int64_t number, char* field, std::size_t width) {
  char digits[24];
  const char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  const auto length = static_cast<std::size_t>(end - digits);
  if (length > width) {
    std::memset(field, '*', width);
    return;
  }
  std::memset(field, ' ', width - length);
  std::memcpy(field + width - length, digits, length);
}

}  // namespace uwugit
