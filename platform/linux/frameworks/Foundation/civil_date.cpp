#include "frameworks/Foundation/civil_date.hpp"

namespace veltro::host {
namespace {

// Days since 1970 of 15 October 1582, the first Gregorian day.
constexpr std::int64_t kFirstGregorianDay = -141427;

// Days since 1970 of 1 March of the year 0, in either calendar: years are counted from March, so
// that the leap day is the last.
constexpr std::int64_t kGregorianStart = -719468;
constexpr std::int64_t kJulianStart = kGregorianStart - 2;

constexpr std::int64_t kDaysIn400Years = 146097;
constexpr std::int64_t kDaysIn4Years = 1461;

/// `day` counts from 0 in a year that starts in March.
CivilDate civil_in_year(std::int64_t year, std::int64_t day) {
  const std::int64_t month = (5 * day + 2) / 153;
  const auto of_month = static_cast<int>(day - (153 * month + 2) / 5 + 1);
  const auto civil_month = static_cast<int>(month < 10 ? month + 3 : month - 9);
  return {year + (civil_month <= 2 ? 1 : 0), civil_month, of_month};
}

CivilDate gregorian_from_days(std::int64_t days) {
  const std::int64_t since = days - kGregorianStart;
  const std::int64_t cycle = floor_div(since, kDaysIn400Years);
  const std::int64_t day = since - cycle * kDaysIn400Years;
  const std::int64_t year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
  return civil_in_year(cycle * 400 + year, day - (365 * year + year / 4 - year / 100));
}

CivilDate julian_from_days(std::int64_t days) {
  const std::int64_t since = days - kJulianStart;
  const std::int64_t cycle = floor_div(since, kDaysIn4Years);
  const std::int64_t day = since - cycle * kDaysIn4Years;
  const std::int64_t year = (day - day / 1460) / 365;
  return civil_in_year(cycle * 4 + year, day - 365 * year);
}

std::int64_t year_length(std::int64_t year) {
  return days_from_civil(year + 1, 1, 1) - days_from_civil(year, 1, 1);
}

/// The week of `day` (from 1) of a period, where that day or `weekday_day` has the weekday that is
/// `weekday` (from 0) days after the first of a week.
std::int64_t week_in_period(std::int64_t day, int weekday, int minimum_days) {
  const std::int64_t start = floor_mod(weekday - day + 1, 7);
  return (day + start - 1) / 7 + (7 - start >= minimum_days ? 1 : 0);
}

} // namespace

CivilDate civil_from_days(std::int64_t days) {
  return days < kFirstGregorianDay ? julian_from_days(days) : gregorian_from_days(days);
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
  const auto weekday = static_cast<int>(floor_mod(weekday_of(days) - rules.first_weekday, 7));
  const std::int64_t day_of_year = days - days_from_civil(date.year, 1, 1) + 1;

  std::int64_t year = date.year;
  std::int64_t week = week_in_period(day_of_year, weekday, rules.minimum_days);
  const std::int64_t length = year_length(year);
  if (week == 0) {
    --year;
    week = week_in_period(day_of_year + year_length(year), weekday, rules.minimum_days);
  } else if (day_of_year - weekday + 7 > length) {
    // The next year begins in this week, or right after it.
    const std::int64_t days_in_next_year = day_of_year - weekday + 6 - length;
    if (days_in_next_year >= rules.minimum_days) {
      week = 1;
      ++year;
    }
  }
  return {static_cast<int>(week),
          static_cast<int>(week_in_period(date.day, weekday, rules.minimum_days)), year};
}

} // namespace veltro::host
