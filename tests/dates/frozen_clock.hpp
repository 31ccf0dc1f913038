// A clock that stands still: +[NSDate date] returns the moment that the test chose.
#pragma once

#include "dates/replaced_method.hpp"

namespace veltro::test {

class FrozenClock {
public:
  /// `seconds` since 1970 in UTC.
  explicit FrozenClock(double seconds = 0)
      : date_(object_getClass([NSDate class]), @selector(date), &now) {
    set(seconds);
  }

  static void set(double seconds) { moment() = seconds; }

private:
  static double &moment() {
    static double seconds = 0;
    return seconds;
  }
  static NSDate *now(Class /*self*/, SEL /*selector*/) {
    return [NSDate dateWithTimeIntervalSince1970:moment()];
  }

  ReplacedMethod<NSDate *(*)(Class, SEL)> date_;
};

/// The default time zone of the process, put back when the test ends.
class DefaultZone {
public:
  explicit DefaultZone(NSString *name) : before_([[NSTimeZone defaultTimeZone] retain]) {
    set(name);
  }
  ~DefaultZone() {
    [NSTimeZone setDefaultTimeZone:before_];
    [before_ release];
  }
  DefaultZone(const DefaultZone &) = delete;
  DefaultZone &operator=(const DefaultZone &) = delete;

  static void set(NSString *name) {
    [NSTimeZone setDefaultTimeZone:[NSTimeZone timeZoneWithName:name]];
  }

private:
  NSTimeZone *before_;
};

/// A moment of the Gregorian calendar in the default time zone.
inline NSDate *at(int year, int month, int day, int hour = 0, int minute = 0, double second = 0) {
  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  [components setYear:year];
  [components setMonth:month];
  [components setDay:day];
  [components setHour:hour];
  [components setMinute:minute];
  NSDate *date = [[NSCalendar currentCalendar] dateFromComponents:components];
  return [NSDate
      dateWithTimeIntervalSinceReferenceDate:[date timeIntervalSinceReferenceDate] + second];
}

} // namespace veltro::test
