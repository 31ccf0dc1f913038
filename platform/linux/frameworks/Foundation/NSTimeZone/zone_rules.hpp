// The offsets of a time zone through time, read from a time-zone file as RFC 8536 defines it: the
// table of changes, and the rule behind it for all later years.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace veltro::host {

/// Seconds since 1970 in UTC.
using UnixTime = std::int64_t;

/// A moment at which a zone's offset may change.
struct Transition {
  UnixTime time = 0;
  std::int32_t offset = 0; ///< seconds east of Greenwich from then on
};

/// What comes again every year.
struct YearlyRule {
  /// A day of every year and the local time of the change.
  struct Change {
    int month = 0; ///< 1 to 12; 0 where `day` counts through the year, from 0
    int week = 0;  ///< of the month; 5 is the last
    int day = 0;   ///< of the week; 0 is Sunday
    bool skips_leap_day = false;
    std::int32_t time = 7200;
  };

  std::int32_t standard = 0;
  std::int32_t summer = 0; ///< the same as `standard` where the offset never changes
  Change to_summer{.month = 3, .week = 2};
  Change to_standard{.month = 11, .week = 1};
};

class ZoneRules {
public:
  /// A zone whose offset never changes.
  static ZoneRules fixed(std::int32_t offset);

  /// The zone that the bytes of a time-zone file describe, or nothing where they are none.
  static std::optional<ZoneRules> parsed(std::span<const std::uint8_t> file);

  /// The zone that nothing but a rule describes, as the C library understands one in TZ
  /// ("CET-1CEST,M3.5.0,M10.5.0/3"): summer time without dates has those of the United States.
  /// Nothing where `text` is no rule.
  static std::optional<ZoneRules> spelled(std::string_view text);

  [[nodiscard]] std::int32_t offset_at(UnixTime time) const;

  /// The transitions after `from` and not after `to`, in order of time. Where a rule's years cross,
  /// the earlier year's come first, and the last one holds, as in the C library.
  [[nodiscard]] std::vector<Transition> transitions_between(UnixTime from, UnixTime to) const;

private:
  std::int32_t first_offset_ = 0;
  std::vector<Transition> table_;
  std::optional<YearlyRule> rule_;
};

} // namespace veltro::host
