#include "frameworks/Foundation/NSTimeZone/wall_clock.hpp"

#include "frameworks/Foundation/civil_date.hpp"

#include <algorithm>
#include <optional>

namespace veltro::host {
namespace {

// No zone is farther than this from Greenwich (RFC 8536 has 26 hours).
constexpr std::int64_t kWidestOffset = std::int64_t{26} * 3600;

/// The moments that are of interest for one local time.
struct Candidates {
  std::optional<UnixTime> first;   ///< at which the clocks show it
  std::optional<UnixTime> last;    ///< the same, where they show it again
  std::optional<UnixTime> skipped; ///< at which the clocks skip it
  std::int32_t offset_before = 0;  ///< of the zone before the skip
};

Candidates candidates_of(const ZoneRules &zone, LocalTime local) {
  Candidates found;
  UnixTime start = local - kWidestOffset;
  const UnixTime end = local + kWidestOffset;
  std::int32_t offset = zone.offset_at(start);
  const auto look_at_span = [&](UnixTime span_end) {
    const UnixTime moment = local - offset;
    if (moment < start || moment >= span_end)
      return;
    if (!found.first)
      found.first = moment;
    found.last = moment;
  };
  for (const Transition &transition : zone.transitions_between(start, end)) {
    look_at_span(transition.time);
    if (transition.time + offset <= local && local < transition.time + transition.offset) {
      found.skipped = transition.time;
      found.offset_before = offset;
    }
    start = transition.time;
    offset = transition.offset;
  }
  look_at_span(end + 1);
  return found;
}

} // namespace

LocalTime local_time(const ZoneRules &zone, UnixTime time) {
  return time + zone.offset_at(time);
}

UnixTime moment_of(const ZoneRules &zone, LocalTime local) {
  const Candidates found = candidates_of(zone, local);
  return found.last.value_or(local - found.offset_before);
}

UnixTime first_moment_of_day(const ZoneRules &zone, std::int64_t day) {
  const LocalTime midnight = day * kSecondsInDay;
  const Candidates found = candidates_of(zone, midnight);
  return found.first ? *found.first : found.skipped.value_or(midnight);
}

std::int64_t seconds_to_same_time(const ZoneRules &zone, UnixTime time, std::int64_t days) {
  const std::int64_t elapsed = days * kSecondsInDay;
  const std::int64_t shown = floor_mod(local_time(zone, time), kSecondsInDay);
  if (floor_mod(local_time(zone, time + elapsed), kSecondsInDay) == shown)
    return elapsed;
  // Over a change of the clocks. A change by whole days keeps the time of day and is left as it is.
  const std::int64_t change = zone.offset_at(time + elapsed) - zone.offset_at(time);
  const std::int64_t adjusted = elapsed - change % kSecondsInDay;
  if (floor_mod(local_time(zone, time + adjusted), kSecondsInDay) == shown)
    return adjusted;
  // The clocks skip that time of day: what they skip is added.
  return std::max(elapsed, adjusted);
}

} // namespace veltro::host
