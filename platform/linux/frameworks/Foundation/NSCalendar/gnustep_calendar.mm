#include "frameworks/Foundation/NSCalendar/gnustep_calendar.hpp"

namespace veltro::host {

constinit GNUstepCalendarMethods gnustep_methods;

NSCalendar *gnustep_calendar(NSCalendar *settings, NSTimeZone *zone) {
  NSCalendar *calendar =
      [[[NSCalendar alloc] initWithCalendarIdentifier:[settings calendarIdentifier]] autorelease];
  [calendar setLocale:[settings locale]];
  [calendar setTimeZone:zone];
  [calendar setFirstWeekday:[settings firstWeekday]];
  [calendar setMinimumDaysInFirstWeek:[settings minimumDaysInFirstWeek]];
  return calendar;
}

} // namespace veltro::host
