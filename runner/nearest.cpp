#include "nearest.h"

#include <algorithm>

namespace uwugit::runner {
namespace {

// How many characters must be added, taken out, exchanged or swapped with the next one.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> two_before, before, row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    two_before = std::move(before);
    before = row;
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t exchanged = before[j - 1] + (a[i - 1] != b[j - 1]);
      row[j] = std::min({exchanged, before[j] + 1, row[j - 1] + 1});
      const bool is_swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (is_swapped) row[j] = std::min(row[j], two_before[j - 2] + 1);
    }
  }
  return row.back();
}

}  // namespace

std::string did_you_mean(std::string_view word, const std::vector<std::string>& names) {
  std::string_view nearest;
  std::size_t shortest = std::max<std::size_t>(word.size() / 3, 1) + 1;
  for (const std::string& name : names) {
    const std::size_t found = distance(word, name);
    if (found >= shortest) continue;
    shortest = found;
    nearest = name;
  }
  return nearest.empty() ? "" : " Did you mean '" + std::string(nearest) + "'?";
}

}  // namespace uwugit::runner
