// How rows of the catalogue are written, and the rows that several functions share.
#pragma once

#include "uwugithost/catalogue.h"

namespace uwugit::host {

inline constexpr bool kOptional = true;
inline constexpr bool kRepeated = true;

constexpr ResultRow success(double code, std::string_view meaning) {
  return {ResultMatch::kExactly, code, true, meaning};
}
constexpr ResultRow failure(double code, std::string_view meaning) {
  return {ResultMatch::kExactly, code, false, meaning};
}
constexpr ResultRow success_with_count(std::string_view meaning) {
  return {ResultMatch::kCount, 0, true, meaning};
}
constexpr ResultRow success_unchanged(std::string_view meaning) {
  return {ResultMatch::kUnchanged, 0, true, meaning};
}
constexpr ResultRow failure_unchanged(std::string_view meaning) {
  return {ResultMatch::kUnchanged, 0, false, meaning};
}
constexpr ResultRow failure_returned(double value, std::string_view meaning) {
  return {ResultMatch::kReturned, value, false, meaning};
}
constexpr ResultRow failure_with_other_code(std::string_view meaning) {
  return {ResultMatch::kOther, 0, false, meaning};
}

constexpr ResultRow unless_logged(ResultRow success) {
  success.is_told_by_log = true;
  return success;
}
constexpr Parameter id_parameter(std::string_view name, std::string_view meaning) {
  return {.name = name, .kind = Kind::kText, .meaning = meaning, .is_id = true};
}
constexpr Parameter word_parameter(std::string_view name, std::span<const std::string_view> words,
                                   std::string_view more = {}) {
  return {.name = name, .kind = Kind::kText, .meaning = more, .words = words};
}

inline constexpr ResultRow kNotLoaded =
    failure_unchanged("libgit2 could not be loaded or initialised");

inline constexpr Parameter kRepository = {"repository", Kind::kText,
                                          "path of the local repository"};
inline constexpr Parameter kOnlyRepository[] = {kRepository};
inline constexpr Parameter kEmail = {"email", Kind::kText, "their e-mail address"};
inline constexpr Parameter kBranchKind = {
    "kind", Kind::kNumber, "1: a remote-tracking branch; otherwise a local one", kOptional};

}  // namespace uwugit::host
