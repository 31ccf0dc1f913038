// Times on the command line: seconds since 1970, or ISO 8601 in UTC.
#pragma once

#include <optional>
#include <string>

namespace veltro::tool {

/// The seconds since 1970 that "1700000000.5", "2026-11-21", "2026-11-21T10:00:00Z" or
/// "2026-11-21T10:00:00.250Z" stand for; nothing for another text.
std::optional<double> parse_time(const std::string &text);

/// The time as ISO 8601 in UTC, to the millisecond; the nearest one of the years 1 to 9999.
std::string time_text(double seconds_since_1970);

} // namespace veltro::tool
