// Points in time as people write them.
#pragma once

#include <cstdint>
#include <string>

namespace uwugit::runner {

// Seconds since 1970 of "2024-01-31", "2024-01-31 12:30", "2024-01-31T12:30:00Z" (UTC),
// "@1706704200", "today", "yesterday", "30 days", "2 weeks ago", "3 months", "1 year". Throws
// std::runtime_error.
std::int64_t parse_time(const std::string& text, std::int64_t now);

}  // namespace uwugit::runner
