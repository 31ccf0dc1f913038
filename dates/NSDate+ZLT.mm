#import <veltro/NSDate+ZLT.h>

namespace {

// Year, month, day, hour and minute; the era is left out on purpose.
constexpr NSUInteger kMinuteUnits = NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay |
                                    NSCalendarUnitHour | NSCalendarUnitMinute;

} // namespace

@implementation NSDate (ZLT)

- (NSDate *)zlt_normalizedDateWithDate {
  NSCalendar *calendar = [NSCalendar currentCalendar];
  return [calendar dateFromComponents:[calendar components:kMinuteUnits fromDate:self]];
}

- (BOOL)zlt_isEqualIgnoringTimeInSecond:(NSDate *)date {
  return [[self zlt_normalizedDateWithDate] isEqualToDate:[date zlt_normalizedDateWithDate]];
}

@end
