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

/// The part of a time-zone file after its table: "EST5EDT,M3.2.0,M11.1.0".
class YearlyRule {
public:
  /// The rule that `text` spells, or nothing where it spells none.
  static std::optional<YearlyRule> parsed(std::string_view text);

  [[nodiscard]] std::int32_t offset_at(UnixTime time) const;
  /// The transitions of year `year`, in order of time; none where the offset never changes.
  [[nodiscard]] std::vector<Transition> transitions_of(std::int64_t year) const;

private:
  /// A day of every year and the local time of the change.
  struct Change {
    enum class Kind { month_week_day, julian_without_leap_day, zero_based };
    Kind kind = Kind::zero_based;
    int month = 0;
    int week = 0;
    int day = 0;
    std::int32_t time = 7200;

    [[nodiscard]] std::int64_t local_seconds(std::int64_t year) const;
  };
  class Reader;

  std::int32_t standard_ = 0;
  std::int32_t summer_ = 0;
  bool has_summer_ = false;
  Change to_summer_;
  Change to_standard_;
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

  /// The transitions after `from` and not after `to`, in order of time.
  [[nodiscard]] std::vector<Transition> transitions_between(UnixTime from, UnixTime to) const;

private:
  std::int32_t first_offset_ = 0;
  std::vector<Transition> table_;
  std::optional<YearlyRule> rule_;
};

} // namespace veltro::host
