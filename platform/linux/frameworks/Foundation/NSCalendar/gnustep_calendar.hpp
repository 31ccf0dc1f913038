// GNUstep's own calendar, as it was before this platform patched it: for the calendars and the
// units that the patched methods leave to it.
#pragma once

#import <Foundation/Foundation.h>

namespace veltro::host {

/// A calendar of GNUstep's own (autoreleased) that belongs to the calling thread only, with the
/// settings of `settings` and the time zone `zone`. GNUstep's calendars change inside while they
/// result, so that two threads cannot share one.
NSCalendar *gnustep_calendar(NSCalendar *settings, NSTimeZone *zone);

/// The methods as GNUstep implements them, filled in when the patched ones take their place.
struct GNUstepCalendarMethods {
  NSDateComponents *(*components)(NSCalendar *, SEL, NSUInteger, NSDate *) = nullptr;
  NSDate *(*date)(NSCalendar *, SEL, NSDateComponents *) = nullptr;
  NSDate *(*adding)(NSCalendar *, SEL, NSDateComponents *, NSDate *, NSUInteger) = nullptr;
};
extern GNUstepCalendarMethods gnustep_methods;

} // namespace veltro::host
