// What the clock on the wall shows in a time zone, and which moments it shows it. Follows the rules
// of Apple's calendars: a local time that the clocks skip moves forward by what they skip, one that
// they show twice is the later of the two.
#pragma once

#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"

namespace veltro::host {

/// Seconds since 1970 as a clock on the wall counts them.
using LocalTime = std::int64_t;

/// Moments and day counts beyond this many seconds (31 million years) are not looked at closely.
constexpr std::int64_t kFarthest = 1'000'000'000'000'000;

LocalTime local_time(const ZoneRules &zone, UnixTime time);

/// The moment at which the clocks show `local`.
UnixTime moment_of(const ZoneRules &zone, LocalTime local);

/// The first moment of the local day `day` (days since 1970), or of the next one that there is: its
/// midnight, the first of them where there are two, or the moment to which the clocks skip.
UnixTime first_moment_of_day(const ZoneRules &zone, std::int64_t day);

/// How many seconds after `time` the clocks show the same time of day, `days` days on (or back).
/// Days that the zone left out are not counted. |time| must not exceed kFarthest.
std::int64_t seconds_to_same_time(const ZoneRules &zone, UnixTime time, std::int64_t days);

} // namespace veltro::host
