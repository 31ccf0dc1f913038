#pragma once

#include <Foundation/NSDate.h>

typedef NS_OPTIONS(NSUInteger, NSCalendarUnit) {
  NSCalendarUnitEra = 2,
  NSCalendarUnitYear = 4,
  NSCalendarUnitMonth = 8,
  NSCalendarUnitDay = 16,
  NSCalendarUnitHour = 32,
  NSCalendarUnitMinute = 64,
  NSCalendarUnitSecond = 128,
  NSWeekCalendarUnit = 256,
  NSCalendarUnitWeekday = 512,
  NSCalendarUnitWeekdayOrdinal = 1024,
};
typedef NSUInteger NSCalendarOptions;

@interface NSDateComponents : NSObject <NSCopying, NSSecureCoding>
@property NSInteger year;
@property NSInteger month;
@property NSInteger day;
- (NSInteger)week;
@end

@interface NSCalendar : NSObject <NSCopying, NSSecureCoding>
+ (NSCalendar *)currentCalendar;
+ (NSCalendar *)autoupdatingCurrentCalendar;
- (NSDateComponents *)components:(NSCalendarUnit)units fromDate:(NSDate *)date;
- (NSDate *)dateFromComponents:(NSDateComponents *)components;
- (NSDate *)dateByAddingComponents:(NSDateComponents *)components
                            toDate:(NSDate *)date
                           options:(NSCalendarOptions)options;
- (BOOL)rangeOfUnit:(NSCalendarUnit)unit
          startDate:(NSDate **)start
           interval:(NSTimeInterval *)interval
            forDate:(NSDate *)date;
@end
