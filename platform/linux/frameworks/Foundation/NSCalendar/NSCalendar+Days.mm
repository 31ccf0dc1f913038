// The methods of NSCalendar that take dates apart, put them together, step by days and find where a
// unit begins. Follows Apple's NSCalendar and NSDateComponents class references; docs/calendar.md
// has what GNUstep does otherwise. Left to GNUstep: the fields of calendars other than the
// Gregorian, dates from weeks and weekdays, and steps by other units than days.

#include "frameworks/Foundation/NSCalendar/current_calendar.hpp"
#include "frameworks/Foundation/NSTimeZone/time_zone_rules.hpp"
#include "frameworks/Foundation/NSTimeZone/wall_clock.hpp"
#include "frameworks/Foundation/civil_date.hpp"
#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <utility>

namespace veltro::host {
namespace {

NSDateComponents *(*gnustep_components)(NSCalendar *, SEL, NSUInteger, NSDate *);
NSDate *(*gnustep_date)(NSCalendar *, SEL, NSDateComponents *);
NSDate *(*gnustep_adding)(NSCalendar *, SEL, NSDateComponents *, NSDate *, NSUInteger);

/// A calendar of GNUstep's own (autoreleased) with the settings of `settings` and the time zone
/// `zone`, for one thread: GNUstep's calendars change inside while they work.
NSCalendar *gnustep_calendar(NSCalendar *settings, NSTimeZone *zone) {
  NSCalendar *calendar =
      [[[NSCalendar alloc] initWithCalendarIdentifier:[settings calendarIdentifier]] autorelease];
  [calendar setLocale:[settings locale]];
  [calendar setTimeZone:zone];
  [calendar setFirstWeekday:[settings firstWeekday]];
  [calendar setMinimumDaysInFirstWeek:[settings minimumDaysInFirstWeek]];
  return calendar;
}

constexpr NSUInteger kWeekUnits = NSUInteger{NSWeekCalendarUnit} | NSCalendarUnitWeekOfYear |
                                  NSCalendarUnitWeekOfMonth | NSCalendarUnitYearForWeekOfYear;

// 1 January 2001, from which NSDate counts.
constexpr UnixTime kReferenceDate = 978'307'200;

/// A date in whole seconds, and what it has beyond them (0 or more, less than 1).
struct Moment {
  UnixTime seconds = 0;
  double fraction = 0;
  bool far = false; ///< so far away that it was brought back to kFarthest
};

Moment moment_of_date(NSDate *date) {
  const double time = [date timeIntervalSinceReferenceDate];
  const double whole = std::floor(time);
  if (!(std::abs(whole) < static_cast<double>(kFarthest)))
    return {whole > 0 ? kFarthest : -kFarthest, 0, true};
  return {static_cast<UnixTime>(whole) + kReferenceDate, time - whole, false};
}

NSDate *date_at(UnixTime seconds, double fraction = 0) {
  return
      [NSDate dateWithTimeIntervalSinceReferenceDate:static_cast<double>(seconds - kReferenceDate) +
                                                     fraction];
}

bool is_gregorian(NSCalendar *calendar) {
  NSString *identifier = [calendar calendarIdentifier];
  return identifier == nil || [identifier isEqualToString:NSCalendarIdentifierGregorian];
}

NSTimeZone *greenwich() {
  return [NSTimeZone timeZoneForSecondsFromGMT:0];
}

WeekRules week_rules_of(NSCalendar *calendar) {
  return {static_cast<int>([calendar firstWeekday]),
          static_cast<int>([calendar minimumDaysInFirstWeek])};
}

using Field = std::pair<NSCalendarUnit, std::int64_t>;

/// Sets those of the fields that `units` asks for.
void fill(NSDateComponents *components, NSUInteger units, std::initializer_list<Field> fields) {
  for (const auto &[unit, value] : fields)
    if ((units & unit) != 0)
      [components setValue:static_cast<NSInteger>(value) forComponent:unit];
}

NSDateComponents *gregorian_components(NSCalendar *calendar, NSUInteger units, LocalTime local,
                                       double fraction) {
  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  const std::int64_t day = floor_div(local, kSecondsInDay);
  const std::int64_t second = local - day * kSecondsInDay;
  const CivilDate date = civil_from_days(day);
  fill(components, units,
       {{NSCalendarUnitEra, date.year < 1 ? 0 : 1},
        {NSCalendarUnitYear, date.year < 1 ? 1 - date.year : date.year},
        {NSCalendarUnitQuarter, (date.month + 2) / 3},
        {NSCalendarUnitMonth, date.month},
        {NSCalendarUnitDay, date.day},
        {NSCalendarUnitWeekday, weekday_of(day)},
        {NSCalendarUnitWeekdayOrdinal, (date.day - 1) / 7 + 1},
        {NSCalendarUnitHour, second / 3600},
        {NSCalendarUnitMinute, second / 60 % 60},
        {NSCalendarUnitSecond, second % 60},
        {NSCalendarUnitNanosecond, static_cast<std::int64_t>(fraction * 1e9)}});
  if ((units & kWeekUnits) != 0) {
    const WeekNumbers weeks = week_numbers(day, week_rules_of(calendar));
    fill(components, units,
         {{NSWeekCalendarUnit, weeks.of_year},
          {NSCalendarUnitWeekOfYear, weeks.of_year},
          {NSCalendarUnitWeekOfMonth, weeks.of_month},
          {NSCalendarUnitYearForWeekOfYear, weeks.year}});
  }
  return components;
}

NSDateComponents *components_from_date(NSCalendar *self, SEL selector, NSUInteger units,
                                       NSDate *date) {
  if (date == nil)
    return nil;
  NSCalendar *calendar = snapshot_of(self);
  const Moment moment = moment_of_date(date);
  const LocalTime local = local_time(*rules_of([calendar timeZone], date), moment.seconds);
  NSDateComponents *components =
      is_gregorian(calendar) ? gregorian_components(calendar, units, local, moment.fraction)
                             : gnustep_components(gnustep_calendar(calendar, greenwich()), selector,
                                                  units, date_at(local, moment.fraction));
  if ((units & NSCalendarUnitCalendar) != 0)
    [components setCalendar:self];
  if ((units & NSCalendarUnitTimeZone) != 0)
    [components setTimeZone:[calendar timeZone]];
  return components;
}

bool is_set(NSDateComponents *components, NSCalendarUnit unit) {
  return [components valueForComponent:unit] != NSDateComponentUndefined;
}

bool names_weeks(NSDateComponents *components) {
  constexpr NSCalendarUnit kUnits[] = {NSCalendarUnitWeekday, NSCalendarUnitWeekdayOrdinal,
                                       NSCalendarUnitWeekOfYear, NSCalendarUnitWeekOfMonth,
                                       NSCalendarUnitYearForWeekOfYear};
  return std::ranges::any_of(kUnits, std::bind_front(is_set, components));
}

/// The local time that year to second give; nothing where one lies too far out.
std::optional<LocalTime> local_time_from(NSDateComponents *components) {
  bool in_reach = true;
  const auto value = [&](NSCalendarUnit unit, std::int64_t unset, std::int64_t most) {
    if (!is_set(components, unit))
      return unset;
    const std::int64_t component = [components valueForComponent:unit];
    in_reach = in_reach && component >= -most && component <= most;
    return std::clamp(component, -most, most);
  };
  constexpr std::int64_t kMostYears = 10'000'000;
  constexpr std::int64_t kMostSeconds = kFarthest / 8;
  std::int64_t year = value(NSCalendarUnitYear, 1, kMostYears);
  if ([components era] == 0)
    year = 1 - year;
  const std::int64_t day =
      days_from_civil(year, value(NSCalendarUnitMonth, 1, kMostYears),
                      value(NSCalendarUnitDay, 1, kMostSeconds / kSecondsInDay));
  const LocalTime local = day * kSecondsInDay +
                          value(NSCalendarUnitHour, 0, kMostSeconds / 3600) * 3600 +
                          value(NSCalendarUnitMinute, 0, kMostSeconds / 60) * 60 +
                          value(NSCalendarUnitSecond, 0, kMostSeconds);
  return in_reach ? std::optional(local) : std::nullopt;
}

NSDate *date_from_components(NSCalendar *self, SEL selector, NSDateComponents *components) {
  if (components == nil)
    return nil;
  NSCalendar *calendar = snapshot_of(self);
  NSTimeZone *zone = [components timeZone] != nil ? [components timeZone] : [calendar timeZone];
  std::optional<LocalTime> local;
  if (is_gregorian(calendar) && !names_weeks(components)) {
    local = local_time_from(components);
  } else {
    NSDateComponents *in_greenwich = [[components copy] autorelease];
    [in_greenwich setTimeZone:nil];
    local = moment_of_date(
                gnustep_date(gnustep_calendar(calendar, greenwich()), selector, in_greenwich))
                .seconds;
  }
  if (!local)
    return nil;
  const double fraction = is_set(components, NSCalendarUnitNanosecond)
                              ? static_cast<double>([components nanosecond]) / 1e9
                              : 0;
  const auto rules = rules_of(zone, date_at(*local));
  return date_at(moment_of(*rules, *local), fraction);
}

bool holds_days_only(NSDateComponents *components) {
  constexpr NSCalendarUnit kOthers[] = {
      NSCalendarUnitEra,  NSCalendarUnitYear,   NSCalendarUnitQuarter, NSCalendarUnitMonth,
      NSCalendarUnitHour, NSCalendarUnitMinute, NSCalendarUnitSecond,  NSCalendarUnitNanosecond};
  return !names_weeks(components) &&
         std::ranges::none_of(kOthers, std::bind_front(is_set, components));
}

NSDate *date_by_adding_components(NSCalendar *self, SEL selector, NSDateComponents *components,
                                  NSDate *date, NSUInteger options) {
  if (date == nil)
    return nil;
  NSCalendar *calendar = snapshot_of(self);
  if (options != 0 || !holds_days_only(components))
    return gnustep_adding(gnustep_calendar(calendar, [calendar timeZone]), selector, components,
                          date, options);
  const std::int64_t days = is_set(components, NSCalendarUnitDay) ? [components day] : 0;
  const Moment moment = moment_of_date(date);
  constexpr std::int64_t kMostDays = kFarthest / kSecondsInDay;
  const double seconds = moment.far || days > kMostDays || days < -kMostDays
                             ? static_cast<double>(days) * static_cast<double>(kSecondsInDay)
                             : static_cast<double>(seconds_to_same_time(
                                   *rules_of([calendar timeZone], date), moment.seconds, days));
  return [NSDate
      dateWithTimeIntervalSinceReferenceDate:[date timeIntervalSinceReferenceDate] + seconds];
}

/// Where a unit begins, and where the next of its kind does.
using Extent = std::pair<UnixTime, UnixTime>;

std::optional<Extent> extent_of(NSCalendar *calendar, NSCalendarUnit unit, const ZoneRules &zone,
                                UnixTime time) {
  const LocalTime local = local_time(zone, time);
  const std::int64_t day = floor_div(local, kSecondsInDay);
  const auto of_time = [&](std::int64_t length) {
    const UnixTime start = time - floor_mod(local, length);
    return Extent{start, start + length};
  };
  const auto of_days = [&](std::int64_t first, std::int64_t next) {
    return Extent{first_moment_of_day(zone, first), first_moment_of_day(zone, next)};
  };
  switch (unit) {
  case NSCalendarUnitSecond:
    return of_time(1);
  case NSCalendarUnitMinute:
    return of_time(60);
  case NSCalendarUnitHour:
    return of_time(3600);
  case NSCalendarUnitDay:
  case NSCalendarUnitWeekday:
    return of_days(day, day + 1);
  case NSWeekCalendarUnit:
  case NSCalendarUnitWeekOfYear:
  case NSCalendarUnitWeekOfMonth: {
    const std::int64_t first =
        day - floor_mod(weekday_of(day) - week_rules_of(calendar).first_weekday, 7);
    return of_days(first, first + 7);
  }
  case NSCalendarUnitMonth:
  case NSCalendarUnitYear: {
    if (!is_gregorian(calendar))
      return std::nullopt;
    const auto [year, month, _] = civil_from_days(day);
    return unit == NSCalendarUnitYear
               ? of_days(days_from_civil(year, 1, 1), days_from_civil(year + 1, 1, 1))
               : of_days(days_from_civil(year, month, 1), days_from_civil(year, month + 1, 1));
  }
  default:
    return std::nullopt;
  }
}

BOOL range_of_unit(NSCalendar *self, SEL /*selector*/, NSCalendarUnit unit, NSDate **start,
                   NSTimeInterval *interval, NSDate *date) {
  if (date == nil)
    return NO;
  NSCalendar *calendar = snapshot_of(self);
  const Moment moment = moment_of_date(date);
  if (moment.far)
    return NO;
  const auto rules = rules_of([calendar timeZone], date);
  const std::optional<Extent> extent = extent_of(calendar, unit, *rules, moment.seconds);
  if (!extent)
    return NO;
  const auto [first, end] = *extent;
  if (start != nullptr)
    *start = date_at(first);
  if (interval != nullptr)
    *interval = static_cast<NSTimeInterval>(end - first);
  return YES;
}

} // namespace
} // namespace veltro::host

VH_AT_LOAD(VHCalendarPatches) {
  using namespace veltro::host;
  Class calendar = objc_getClass("NSCalendar");
  gnustep_components = replace_method(calendar, "components:fromDate:", &components_from_date);
  gnustep_date = replace_method(calendar, "dateFromComponents:", &date_from_components);
  gnustep_adding = replace_method(
      calendar, "dateByAddingComponents:toDate:options:", &date_by_adding_components);
  replace_method(calendar, "rangeOfUnit:startDate:interval:forDate:", &range_of_unit);
}
