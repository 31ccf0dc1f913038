// Days, years, months and weeks of the device's Gregorian calendar: Julian before 15 October 1582,
// as the calendars of Apple's Foundation are. Plain arithmetic; time zones are no matter here.
#pragma once

#include <cstdint>

namespace veltro::host {

constexpr std::int64_t kSecondsInDay = 86400;

/// A day of the calendar. Years are counted through: 0 is 1 BC, -1 is 2 BC.
struct CivilDate {
  std::int64_t year = 1;
  int month = 1; ///< 1 to 12
  int day = 1;
  bool operator==(const CivilDate &) const = default;
};

/// How a locale counts weeks.
struct WeekRules {
  int first_weekday = 1; ///< 1 is Sunday
  int minimum_days = 1;  ///< that a year's or month's first week has in it
};

struct WeekNumbers {
  int of_year = 1;
  int of_month = 1;
  std::int64_t year = 1; ///< the year that week `of_year` belongs to
};

/// The day that is `days` after 1 January 1970.
CivilDate civil_from_days(std::int64_t days);

/// Days since 1 January 1970. Month and day may lie outside their range and count on from there.
std::int64_t days_from_civil(std::int64_t year, std::int64_t month, std::int64_t day);

/// 1 (Sunday) to 7.
int weekday_of(std::int64_t days);

WeekNumbers week_numbers(std::int64_t days, WeekRules rules);

/// Quotient and remainder that round down, for negative numbers too.
constexpr std::int64_t floor_div(std::int64_t number, std::int64_t divisor) {
  return number / divisor - (number % divisor < 0 ? 1 : 0);
}
constexpr std::int64_t floor_mod(std::int64_t number, std::int64_t divisor) {
  return number - floor_div(number, divisor) * divisor;
}

} // namespace veltro::host
