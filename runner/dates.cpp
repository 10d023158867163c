#include "dates.h"

#include <cstdlib>
#include <ctime>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace uwugit::runner {
namespace {

constexpr std::int64_t kDay = 24 * 60 * 60;

struct Unit {
  const char* name;  // in the singular
  std::int64_t seconds;
  int months;  // of those that are counted by the calendar
};
constexpr Unit kUnits[] = {{"second", 1, 0}, {"minute", 60, 0},     {"hour", 60 * 60, 0},
                           {"day", kDay, 0}, {"week", 7 * kDay, 0}, {"month", 0, 1},
                           {"year", 0, 12}};

// "30 days", "2 weeks ago".
std::optional<std::int64_t> parse_distance(const std::string& text, std::int64_t now) {
  std::istringstream words(text);
  int count = 0;
  std::string unit, rest, more;
  if (!(words >> count >> unit) || count < 0) return std::nullopt;
  if (words >> rest && (rest != "ago" || words >> more)) return std::nullopt;
  if (unit.size() > 1 && unit.ends_with('s')) unit.pop_back();
  for (const Unit& row : kUnits) {
    if (unit != row.name) continue;
    if (row.months == 0) return now - count * row.seconds;
    std::tm parts{};
    gmtime_r(&now, &parts);
    parts.tm_mon -= count * row.months;
    return timegm(&parts);
  }
  return std::nullopt;
}

// "2024-01-31", and the time of day behind it.
std::optional<std::int64_t> parse_date(const std::string& text) {
  for (const char* form : {"%Y-%m-%d", "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M",
                           "%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M:%SZ", "%Y-%m"}) {
    std::tm parts{};
    parts.tm_mday = 1;
    const char* end = strptime(text.c_str(), form, &parts);
    if (end && *end == '\0') return timegm(&parts);
  }
  return std::nullopt;
}

}  // namespace

std::int64_t parse_time(const std::string& text, std::int64_t now) {
  if (text == "today") return now - now % kDay;
  if (text == "yesterday") return now - now % kDay - kDay;
  if (text.size() > 1 && text[0] == '@') {
    char* end = nullptr;
    const std::int64_t seconds = std::strtoll(text.c_str() + 1, &end, 10);
    if (*end == '\0') return seconds;
  }
  if (const auto seconds = parse_date(text)) return *seconds;
  if (const auto seconds = parse_distance(text, now)) return *seconds;
  throw std::runtime_error("'" + text +
                           "' is no time. As in: 2024-01-31, \"2024-01-31 12:30\", \"30 days\"");
}

}  // namespace uwugit::runner
