#import <veltro/NSDate+Veltro.h>

#include "utils/owned.hpp"

#include <atomic>

namespace veltro {
namespace {

// The era is left out on purpose, and the week is read back through the older unit on purpose:
// callers have come to rely on both.
constexpr NSUInteger kDayAndWeekUnits =
    NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay | NSCalendarUnitHour |
    NSCalendarUnitMinute | NSCalendarUnitSecond | NSUInteger{NSWeekCalendarUnit} |
    NSCalendarUnitWeekday | NSCalendarUnitWeekdayOrdinal;
constexpr NSTimeInterval kSecondsInWeek = 604800.0;

constinit std::atomic<void *> cached_calendar{nullptr}; // an NSCalendar, owned

/// The two's complement, so that the smallest number stays itself.
constexpr NSInteger negated(NSInteger number) {
  return static_cast<NSInteger>(NSUInteger{0} - static_cast<NSUInteger>(number));
}

NSDateComponents *new_days(NSInteger days) {
  NSDateComponents *components = [[NSDateComponents alloc] init];
  [components setDay:days];
  return components;
}

NSDateComponents *components_of(NSDate *date) {
  return [[NSDate veltro_currentCalendar] components:kDayAndWeekUnits fromDate:date];
}

} // namespace
} // namespace veltro

@implementation NSDate (Veltro)

+ (NSCalendar *)veltro_currentCalendar {
  void *calendar = veltro::cached_calendar.load(std::memory_order_acquire);
  if (calendar == nullptr) {
    NSCalendar *fresh = [[NSCalendar autoupdatingCurrentCalendar] retain];
    if (veltro::cached_calendar.compare_exchange_strong(calendar, fresh))
      return fresh;
    [fresh release]; // another thread was first
  }
  return static_cast<NSCalendar *>(calendar);
}

- (BOOL)veltro_isEqualToDateIgnoringTime:(NSDate *)date {
  NSDateComponents *mine = veltro::components_of(self);
  NSDateComponents *theirs = veltro::components_of(date);
  return
      [mine year] == [theirs year] && [mine month] == [theirs month] && [mine day] == [theirs day];
}

+ (NSDate *)veltro_dateYesterday {
  return [NSDate veltro_dateWithDaysBeforeNow:1];
}

- (BOOL)veltro_isSameWeekAsDate:(NSDate *)date {
  NSDateComponents *mine = veltro::components_of(self);
  NSDateComponents *theirs = veltro::components_of(date);
  if ([mine week] != [theirs week])
    return NO;
  return __builtin_fabs([self timeIntervalSinceDate:date]) < veltro::kSecondsInWeek;
}

- (BOOL)veltro_isToday {
  return [self veltro_isEqualToDateIgnoringTime:[NSDate date]];
}

- (BOOL)veltro_isYesterday {
  return [self veltro_isEqualToDateIgnoringTime:[NSDate veltro_dateYesterday]];
}

+ (NSDate *)veltro_dateWithDaysBeforeNow:(NSInteger)days {
  return [[NSDate date] veltro_dateBySubtractingDays:days];
}

- (NSDate *)veltro_dateByAddingDays:(NSInteger)days {
  const veltro::Owned<NSDateComponents *> components(veltro::new_days(days));
  return [[NSCalendar currentCalendar] dateByAddingComponents:components.get()
                                                       toDate:self
                                                      options:0];
}

- (NSDate *)veltro_dateBySubtractingDays:(NSInteger)days {
  return [self veltro_dateByAddingDays:veltro::negated(days)];
}

- (BOOL)veltro_isLastWeek {
  // Seven days of 86400 seconds ago, on purpose, where day arithmetic elsewhere keeps the time of
  // day.
  const NSTimeInterval now = [[NSDate date] timeIntervalSinceReferenceDate];
  NSDate *week_ago = [NSDate dateWithTimeIntervalSinceReferenceDate:now + -veltro::kSecondsInWeek];
  return [self veltro_isSameWeekAsDate:week_ago];
}

- (BOOL)veltro__occuredDaysBeforeToday:(NSInteger)days {
  NSDate *now = [NSDate date];
  NSDate *today = nil;
  [[NSCalendar currentCalendar] rangeOfUnit:NSCalendarUnitDay
                                  startDate:&today
                                   interval:nullptr
                                    forDate:now];
  if (today == nil)
    return NO;
  const veltro::Owned<NSDateComponents *> components(veltro::new_days(veltro::negated(days)));
  NSDate *first = [[NSCalendar currentCalendar] dateByAddingComponents:components.get()
                                                                toDate:today
                                                               options:0];
  // The smallest number is the only one below zero whose negation is not above: it would reach into
  // the past.
  return days != NSIntegerMin && [self compare:first] == NSOrderedDescending &&
         [self compare:today] == NSOrderedAscending;
}

- (BOOL)veltro_dayOccuredDuringLast7Days {
  return [self veltro__occuredDaysBeforeToday:7];
}

@end
