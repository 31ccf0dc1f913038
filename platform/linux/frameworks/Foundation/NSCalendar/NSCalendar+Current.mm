// +currentCalendar, and +autoupdatingCurrentCalendar whose settings are always those of the moment:
// the current locale's calendar and weeks and the default time zone. Follows Apple's NSCalendar
// class reference. A region's customary calendar other than the Gregorian has to be named in the
// locale ("th_TH@calendar=buddhist"); setting something on the autoupdating calendar changes
// nothing.
//
// Both are objects of the class NSCalendar itself: in this runtime a subclass would not notice that
// a program replaces a method of NSCalendar.

#include "frameworks/Foundation/NSCalendar/current_calendar.hpp"
#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <atomic>
#include <mutex>

namespace veltro::host {
namespace {

NSCalendar *new_current_calendar() {
  static std::mutex locale_mutex; // asking GNUstep's locales changes their insides
  const std::lock_guard lock(locale_mutex);
  NSString *identifier =
      [[[NSLocale currentLocale] objectForKey:NSLocaleCalendar] calendarIdentifier];
  return [[NSCalendar alloc]
      initWithCalendarIdentifier:identifier != nil ? identifier : NSCalendarIdentifierGregorian];
}

std::atomic<const void *> autoupdating{nullptr};

/// A calendar and the settings that it was made from: to make one takes ICU long.
struct Snapshot {
  NSLocale *locale = nil;
  NSTimeZone *zone = nil;
  NSCalendar *calendar = nil;
};

std::mutex mutex;
Snapshot snapshot;

/// A selector as a template argument.
struct Name {
  template <std::size_t N> consteval Name(const char (&characters)[N]) {
    std::copy_n(characters, N, text);
  }
  char text[48] = {};
};

/// A method of NSCalendar that the autoupdating calendar serves with the settings of the moment.
template <Name Selector, typename Result, typename... Arguments> struct SnapshotMethod {
  using Method = Result (*)(NSCalendar *, SEL, Arguments...);
  static inline constinit Method gnustep_method = nullptr;

  static Result method(NSCalendar *self, SEL selector, Arguments... arguments) {
    return gnustep_method(snapshot_of(self), selector, arguments...);
  }
  static void patch() {
    gnustep_method = replace_method(objc_getClass("NSCalendar"), Selector.text, &method);
  }
};

NSCalendar *current_calendar(Class /*self*/, SEL /*selector*/) {
  return [new_current_calendar() autorelease];
}

NSCalendar *autoupdating_current_calendar(Class /*self*/, SEL /*selector*/) {
  static NSCalendar *const calendar = new_current_calendar();
  autoupdating = calendar;
  return calendar;
}

} // namespace

NSCalendar *snapshot_of(NSCalendar *calendar) {
  if (calendar != autoupdating)
    return calendar;
  NSLocale *locale = [NSLocale currentLocale];
  NSTimeZone *zone = [NSTimeZone defaultTimeZone];
  const std::lock_guard lock(mutex);
  if (snapshot.locale != locale || snapshot.zone != zone) {
    [snapshot.locale release];
    [snapshot.zone release];
    [snapshot.calendar release];
    snapshot = {[locale retain], [zone retain], new_current_calendar()};
    [snapshot.calendar setTimeZone:zone];
  }
  return [[snapshot.calendar retain] autorelease];
}

} // namespace veltro::host

VH_AT_LOAD(VHCurrentCalendarPatches) {
  using namespace veltro::host;
  Class calendar = objc_getClass("NSCalendar");
  replace_class_method(calendar, "currentCalendar", &current_calendar);
  replace_class_method(calendar, "autoupdatingCurrentCalendar", &autoupdating_current_calendar);
  SnapshotMethod<"calendarIdentifier", NSString *>::patch();
  SnapshotMethod<"locale", NSLocale *>::patch();
  SnapshotMethod<"timeZone", NSTimeZone *>::patch();
  SnapshotMethod<"firstWeekday", NSUInteger>::patch();
  SnapshotMethod<"minimumDaysInFirstWeek", NSUInteger>::patch();
  SnapshotMethod<"copyWithZone:", id, NSZone *>::patch();
  SnapshotMethod<"encodeWithCoder:", void, NSCoder *>::patch();
  SnapshotMethod<"components:fromDate:toDate:options:", NSDateComponents *, NSUInteger, NSDate *,
                 NSDate *, NSUInteger>::patch();
  SnapshotMethod<"maximumRangeOfUnit:", NSRange, NSCalendarUnit>::patch();
  SnapshotMethod<"minimumRangeofUnit:", NSRange, NSCalendarUnit>::patch();
  SnapshotMethod<"ordinalityOfUnit:inUnit:forDate:", NSUInteger, NSCalendarUnit, NSCalendarUnit,
                 NSDate *>::patch();
  SnapshotMethod<"rangeOfUnit:inUnit:forDate:", NSRange, NSCalendarUnit, NSCalendarUnit,
                 NSDate *>::patch();
}
