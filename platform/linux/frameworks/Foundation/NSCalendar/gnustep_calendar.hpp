// GNUstep's own calendar, as it was before this platform mended it: for the calendars and the units
// that the mended methods leave to it.
#pragma once

#import <Foundation/Foundation.h>

namespace veltro::host {

/// A calendar of GNUstep's own (autoreleased) that belongs to the calling thread alone, with the
/// settings of `settings` and the time zone `zone`. GNUstep's calendars change inside while they
/// answer, so that two threads cannot share one.
NSCalendar *gnustep_calendar(NSCalendar *settings, NSTimeZone *zone);

/// The methods as GNUstep implements them, filled in when the mended ones take their place.
struct GNUstepCalendarMethods {
  NSDateComponents *(*components)(NSCalendar *, SEL, NSUInteger, NSDate *) = nullptr;
  NSDate *(*date)(NSCalendar *, SEL, NSDateComponents *) = nullptr;
  NSDate *(*adding)(NSCalendar *, SEL, NSDateComponents *, NSDate *, NSUInteger) = nullptr;
};
extern GNUstepCalendarMethods gnustep_methods;

} // namespace veltro::host
