#include "frameworks/Foundation/civil_date.hpp"

namespace veltro::host {
namespace {

// Days since 1970 of 15 October 1582, the first Gregorian day.
constexpr std::int64_t kFirstGregorianDay = -141427;

// Days since 1970 of 1 March of the year 0, in either calendar: years are counted from March, so
// that the leap day is the last.
constexpr std::int64_t kGregorianStart = -719468;
constexpr std::int64_t kJulianStart = kGregorianStart - 2;

/// The first day of the first week of a year or month that begins with the day `start`.
std::int64_t first_week(std::int64_t start, WeekRules rules) {
  const std::int64_t missing = floor_mod(weekday_of(start) - rules.first_weekday, 7);
  return start - missing + (7 - missing >= rules.minimum_days ? 0 : 7);
}

} // namespace

CivilDate civil_from_days(std::int64_t days) {
  const bool julian = days < kFirstGregorianDay;
  const std::int64_t years_in_cycle = julian ? 4 : 400;
  const std::int64_t days_in_cycle = julian ? 1461 : 146097;
  const std::int64_t since = days - (julian ? kJulianStart : kGregorianStart);
  const std::int64_t cycle = floor_div(since, days_in_cycle);
  const std::int64_t day = since - cycle * days_in_cycle;
  const std::int64_t year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
  const std::int64_t of_year = day - (365 * year + year / 4 - year / 100);
  const std::int64_t month = (5 * of_year + 2) / 153; // from March
  return {cycle * years_in_cycle + year + (month < 10 ? 0 : 1),
          static_cast<int>(month < 10 ? month + 3 : month - 9),
          static_cast<int>(of_year - (153 * month + 2) / 5 + 1)};
}

std::int64_t days_from_civil(std::int64_t year, std::int64_t month, std::int64_t day) {
  const std::int64_t from_march = month - 3;
  const std::int64_t full_year = year + floor_div(from_march, 12);
  const std::int64_t of_year = (153 * floor_mod(from_march, 12) + 2) / 5 + day - 1;
  const std::int64_t julian = 365 * full_year + floor_div(full_year, 4) + of_year;
  const std::int64_t gregorian =
      julian - floor_div(full_year, 100) + floor_div(full_year, 400) + kGregorianStart;
  return gregorian >= kFirstGregorianDay ? gregorian : julian + kJulianStart;
}

int weekday_of(std::int64_t days) {
  return static_cast<int>(floor_mod(days + 4, 7)) + 1;
}

WeekNumbers week_numbers(std::int64_t days, WeekRules rules) {
  const CivilDate date = civil_from_days(days);
  const auto week_since = [days, rules](std::int64_t start) {
    return static_cast<int>(floor_div(days - first_week(start, rules), 7)) + 1;
  };
  // The days before a year's first week belong to the year before.
  std::int64_t year = date.year + 1;
  while (days < first_week(days_from_civil(year, 1, 1), rules))
    --year;
  return {week_since(days_from_civil(year, 1, 1)), week_since(days - date.day + 1), year};
}

} // namespace veltro::host
