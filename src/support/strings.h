// The host's counted-string routines, as every function module of the host carries them. Pure
// functions; lengths are bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace uwugit {

// Length of a NUL-terminated string; 0 for null.
std::size_t wzstlen(const char* text);

// Compares two counted strings byte by byte, case-sensitive, trailing blanks insignificant: less
// than, equal to or greater than 0. The shorter text counts as padded with blanks.
int wzstcom(const char* left, std::size_t left_length, const char* right, std::size_t right_length);

// Whether two texts are the same, trailing blanks insignificant.
inline bool is_same_text(std::string_view left, std::string_view right) {
  return wzstcom(left.data(), left.size(), right.data(), right.size()) == 0;
}

inline std::string_view without_trailing_blanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

// Appends to the NUL-terminated text whose length is given, within `capacity` bytes that include
// the NUL; what does not fit is dropped. Answers the new length.
std::size_t wzstcat(char* text, std::size_t length, std::size_t capacity, const char* addition,
                    std::size_t addition_length);

// Writes the number as decimal text, right-justified in a field of `width` characters without a
// NUL; all "*" when it does not fit.
void wzclchr(std::int64_t number, char* field, std::size_t width);

}  // namespace uwugit
