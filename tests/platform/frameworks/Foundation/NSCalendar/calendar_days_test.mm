#include "dates/frozen_clock.hpp"

#include <gtest/gtest.h>

namespace {

using veltro::test::at;
using veltro::test::DefaultZone;

constexpr NSUInteger kDayAndWeek = NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay |
                                   NSCalendarUnitHour | NSCalendarUnitMinute |
                                   NSCalendarUnitSecond | NSUInteger{NSWeekCalendarUnit} |
                                   NSCalendarUnitWeekday | NSCalendarUnitWeekdayOrdinal;
constexpr NSUInteger kEverything = NSCalendarUnitEra | kDayAndWeek | NSCalendarUnitQuarter |
                                   NSCalendarUnitWeekOfMonth | NSCalendarUnitWeekOfYear |
                                   NSCalendarUnitYearForWeekOfYear | NSCalendarUnitNanosecond;

NSCalendar *calendar_named(NSString *identifier, NSString *zone) {
  NSCalendar *calendar = [[[NSCalendar alloc] initWithCalendarIdentifier:identifier] autorelease];
  [calendar setTimeZone:[NSTimeZone timeZoneWithName:zone]];
  return calendar;
}

NSCalendar *gregorian(NSString *zone = @"America/New_York") {
  return calendar_named(NSCalendarIdentifierGregorian, zone);
}

NSDate *unix_date(double seconds) {
  return [NSDate dateWithTimeIntervalSince1970:seconds];
}

NSDateComponents *only_days(NSInteger days) {
  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  [components setDay:days];
  return components;
}

TEST(Components, FillInWhatIsAskedFor) {
  NSDateComponents *found = [gregorian() components:kEverything
                                           fromDate:unix_date(1'710'358'245.25)];
  EXPECT_EQ([found era], 1);
  EXPECT_EQ([found year], 2024);
  EXPECT_EQ([found quarter], 1);
  EXPECT_EQ([found month], 3);
  EXPECT_EQ([found day], 13);
  EXPECT_EQ([found hour], 15);
  EXPECT_EQ([found minute], 30);
  EXPECT_EQ([found second], 45);
  EXPECT_EQ([found nanosecond], 250'000'000);
  EXPECT_EQ([found weekday], 4);
  EXPECT_EQ([found weekdayOrdinal], 2);
  EXPECT_EQ([found week], 11);
  EXPECT_EQ([found weekOfYear], 11);
  EXPECT_EQ([found weekOfMonth], 3);
  EXPECT_EQ([found yearForWeekOfYear], 2024);
}

TEST(Components, LeaveTheRestUndefined) {
  NSDateComponents *found = [gregorian() components:NSCalendarUnitDay fromDate:unix_date(0)];
  EXPECT_EQ([found day], 31);
  for (const NSInteger other : {[found era],
                                [found year],
                                [found quarter],
                                [found month],
                                [found hour],
                                [found minute],
                                [found second],
                                [found nanosecond],
                                [found weekday],
                                [found weekdayOrdinal],
                                [found week],
                                [found weekOfMonth],
                                [found yearForWeekOfYear]})
    EXPECT_EQ(other, NSDateComponentUndefined);
  EXPECT_EQ([[gregorian() components:0 fromDate:unix_date(0)] day], NSDateComponentUndefined);
}

TEST(Components, NameTheirCalendarAndTimeZone) {
  NSCalendar *calendar = gregorian();
  NSDateComponents *found =
      [calendar components:NSUInteger{NSCalendarUnitCalendar} | NSUInteger{NSCalendarUnitTimeZone}
                  fromDate:unix_date(0)];
  EXPECT_EQ([found calendar], calendar);
  EXPECT_STREQ([[[found timeZone] name] UTF8String], "America/New_York");
}

TEST(Components, OfNoDateAreNothing) {
  NSDateComponents *found = [gregorian() components:kDayAndWeek fromDate:nil];
  EXPECT_EQ([found year], 0);
  EXPECT_EQ([found month], 0);
  EXPECT_EQ([found day], 0);
  EXPECT_EQ([found week], 0);
}

TEST(Components, CountYearsBeforeChristBackwards) {
  NSDateComponents *found = [gregorian(@"UTC") components:kEverything
                                                 fromDate:unix_date(-62'135'769'600.0 - 1)];
  EXPECT_EQ([found era], 0);
  EXPECT_EQ([found year], 1);
  EXPECT_EQ([found month], 12);
  EXPECT_EQ([found day], 31);
}

TEST(Components, CountWeeksByTheCalendarsOwnRules) {
  NSCalendar *calendar = gregorian(@"UTC");
  NSDate *new_year = unix_date(1'672'531'200); // Sunday 1 January 2023
  [calendar setFirstWeekday:2];
  [calendar setMinimumDaysInFirstWeek:4];
  EXPECT_EQ([[calendar components:256 fromDate:new_year] week], 52);
  EXPECT_EQ([[calendar components:16384 fromDate:new_year] yearForWeekOfYear], 2022);
  [calendar setFirstWeekday:1];
  [calendar setMinimumDaysInFirstWeek:1];
  EXPECT_EQ([[calendar components:256 fromDate:new_year] week], 1);
}

TEST(Components, FollowTheTimeZoneFileBeyond2037) {
  NSDateComponents *found = [gregorian() components:32 fromDate:unix_date(4'118'083'200)];
  EXPECT_EQ([found hour], 20); // summer time in 2100
}

TEST(Components, WorkWithAnOffsetOnly) {
  NSCalendar *calendar = gregorian();
  [calendar setTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:20'700]];
  NSDateComponents *found = [calendar components:kDayAndWeek fromDate:unix_date(0)];
  EXPECT_EQ([found hour], 5);
  EXPECT_EQ([found minute], 45);
}

TEST(Components, WorkWithATimeZonesOwnData) {
  NSData *tokyo = [NSData dataWithContentsOfFile:@"/usr/share/zoneinfo/Asia/Tokyo"];
  NSCalendar *calendar = gregorian();
  [calendar setTimeZone:[[[NSTimeZone alloc] initWithName:@"Home" data:tokyo] autorelease]];
  EXPECT_EQ([[calendar components:32 fromDate:unix_date(0)] hour], 9);
}

TEST(Components, OfOtherCalendarsComeFromGNUstepInTheSameTimeZone) {
  NSDateComponents *found = [calendar_named(NSCalendarIdentifierBuddhist, @"America/New_York")
      components:kDayAndWeek
        fromDate:unix_date(1'710'358'245)];
  EXPECT_EQ([found year], 2567);
  EXPECT_EQ([found month], 3);
  EXPECT_EQ([found day], 13);
  EXPECT_EQ([found hour], 15);
}

TEST(DateFromComponents, PutsTogetherWhatWasTakenApart) {
  for (NSString *identifier : {NSCalendarIdentifierGregorian, NSCalendarIdentifierBuddhist}) {
    NSCalendar *calendar = calendar_named(identifier, @"America/New_York");
    for (const double seconds : {1'710'358'245.0, 0.0, -1'000'000'000.0, 4'118'083'200.0}) {
      NSDateComponents *components = [calendar components:252 fromDate:unix_date(seconds)];
      EXPECT_EQ([[calendar dateFromComponents:components] timeIntervalSince1970], seconds);
    }
  }
}

TEST(DateFromComponents, CountsOnBeyondTheEndOfAUnit) {
  const DefaultZone zone(@"UTC");
  EXPECT_EQ([at(2023, 13, 1) compare:at(2024, 1, 1)], NSOrderedSame);
  EXPECT_EQ([at(2023, 3, 0) compare:at(2023, 2, 28)], NSOrderedSame);
  EXPECT_EQ([at(2023, 1, 1, 25, -1) compare:at(2023, 1, 2, 0, 59)], NSOrderedSame);
}

TEST(DateFromComponents, MovesASkippedTimeForwardAndTakesTheLaterOfARepeatedOne) {
  const DefaultZone zone(@"America/New_York");
  EXPECT_EQ([at(2024, 3, 10, 2, 30) timeIntervalSince1970], 1'710'055'800);
  EXPECT_EQ([at(2024, 11, 3, 1, 30) timeIntervalSince1970], 1'730'615'400);
}

TEST(DateFromComponents, ReadsEraNanosecondsAndTimeZone) {
  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  [components setEra:0];
  [components setYear:1];
  [components setNanosecond:500'000'000];
  [components setTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:3600]];
  EXPECT_EQ([[gregorian() dateFromComponents:components] timeIntervalSince1970],
            -62'135'769'600 - 86'400 * 366 - 3600 + 0.5);
}

TEST(DateFromComponents, FindsDaysByTheirWeek) {
  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  [components setYearForWeekOfYear:2024];
  [components setWeekOfYear:11];
  [components setWeekday:4];
  NSDate *date = [gregorian() dateFromComponents:components];
  NSDateComponents *found = [gregorian() components:kDayAndWeek fromDate:date];
  EXPECT_EQ([found week], 11);
  EXPECT_EQ([found weekday], 4);
  EXPECT_EQ([found hour], 0);
}

TEST(DateFromComponents, ReturnsNothingForNothingAndForWhatIsOutOfReach) {
  EXPECT_EQ([gregorian() dateFromComponents:nil], nil);
  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  [components setYear:NSIntegerMax - 1];
  EXPECT_EQ([gregorian() dateFromComponents:components], nil);
  [components setYear:2000];
  [components setSecond:NSIntegerMin];
  EXPECT_EQ([gregorian() dateFromComponents:components], nil);
}

TEST(AddingComponents, StepsByDays) {
  const DefaultZone zone(@"America/New_York");
  for (NSString *identifier : {NSCalendarIdentifierGregorian, NSCalendarIdentifierBuddhist}) {
    NSCalendar *calendar = calendar_named(identifier, @"America/New_York");
    NSDate *before = at(2024, 3, 9, 12);
    EXPECT_EQ([[calendar dateByAddingComponents:only_days(1) toDate:before
                                        options:0] timeIntervalSinceDate:before],
              23 * 3600.0);
  }
}

TEST(AddingComponents, StepsNowhereWithoutAnything) {
  NSDate *date = unix_date(1234.5);
  NSDateComponents *nothing = [[[NSDateComponents alloc] init] autorelease];
  EXPECT_TRUE([[gregorian() dateByAddingComponents:nothing toDate:date
                                           options:0] isEqualToDate:date]);
  EXPECT_TRUE([[gregorian() dateByAddingComponents:nil toDate:date options:0] isEqualToDate:date]);
}

TEST(AddingComponents, ToNoDateIsNothing) {
  EXPECT_EQ([gregorian() dateByAddingComponents:only_days(1) toDate:nil options:0], nil);
}

TEST(AddingComponents, StepsByOtherUnitsToo) {
  const DefaultZone zone(@"UTC");
  NSDateComponents *components = only_days(1);
  [components setMonth:1];
  NSDate *date = [gregorian(@"UTC") dateByAddingComponents:components
                                                    toDate:at(2023, 1, 31)
                                                   options:0];
  EXPECT_EQ([date compare:at(2023, 3, 1)], NSOrderedSame);
}

TEST(AddingComponents, WrapsWhenAskedTo) {
  const DefaultZone zone(@"UTC");
  NSDate *date = [gregorian(@"UTC") dateByAddingComponents:only_days(1)
                                                    toDate:at(2023, 1, 31)
                                                   options:NSWrapCalendarComponents];
  EXPECT_EQ([date compare:at(2023, 1, 1)], NSOrderedSame);
}

/// The start of a unit and how long it lasts.
struct Range {
  NSDate *start = nil;
  NSTimeInterval length = 0;
  BOOL found = NO;

  Range(NSCalendarUnit unit, NSDate *date, NSCalendar *calendar = [NSCalendar currentCalendar])
      : found([calendar rangeOfUnit:unit startDate:&start interval:&length forDate:date]) {}
};

TEST(RangeOfUnit, FindsWhereUnitsBeginAndHowLongTheyLast) {
  const DefaultZone zone(@"America/New_York");
  NSDate *date = at(2024, 3, 10, 15, 30, 45.5);
  const struct {
    NSCalendarUnit unit;
    NSDate *start;
    double hours;
  } rows[] = {
      {NSCalendarUnitYear, at(2024, 1, 1), 366 * 24},
      {NSCalendarUnitMonth, at(2024, 3, 1), 31 * 24 - 1},
      {NSWeekCalendarUnit, at(2024, 3, 10), 7 * 24 - 1},
      {NSCalendarUnitWeekOfYear, at(2024, 3, 10), 7 * 24 - 1},
      {NSCalendarUnitDay, at(2024, 3, 10), 23},
      {NSCalendarUnitWeekday, at(2024, 3, 10), 23},
      {NSCalendarUnitHour, at(2024, 3, 10, 15), 1},
      {NSCalendarUnitMinute, at(2024, 3, 10, 15, 30), 1.0 / 60},
      {NSCalendarUnitSecond, at(2024, 3, 10, 15, 30, 45), 1.0 / 3600},
  };
  for (const auto &row : rows) {
    const Range range(row.unit, date);
    EXPECT_TRUE(range.found) << row.unit;
    EXPECT_TRUE([range.start isEqualToDate:row.start]) << row.unit;
    EXPECT_DOUBLE_EQ(range.length, row.hours * 3600) << row.unit;
  }
}

TEST(RangeOfUnit, FillsInOnlyWhatIsWanted) {
  const DefaultZone zone(@"UTC");
  NSDate *start = nil;
  EXPECT_TRUE([[NSCalendar currentCalendar] rangeOfUnit:NSCalendarUnitDay
                                              startDate:&start
                                               interval:nullptr
                                                forDate:unix_date(1000)]);
  EXPECT_EQ([start timeIntervalSince1970], 0);
  NSTimeInterval length = 0;
  EXPECT_TRUE([[NSCalendar currentCalendar] rangeOfUnit:NSCalendarUnitDay
                                              startDate:nullptr
                                               interval:&length
                                                forDate:unix_date(1000)]);
  EXPECT_EQ(length, 86'400);
}

TEST(RangeOfUnit, ReturnsNoWhereThereIsNone) {
  EXPECT_FALSE(Range(16, nil).found);
  EXPECT_FALSE(Range(16, unix_date(1e300)).found);
  EXPECT_FALSE(Range(NSCalendarUnitEra, unix_date(0)).found);
  NSCalendar *buddhist = calendar_named(NSCalendarIdentifierBuddhist, @"UTC");
  EXPECT_FALSE(Range(NSCalendarUnitMonth, unix_date(0), buddhist).found);
  EXPECT_TRUE(Range(NSCalendarUnitDay, unix_date(0), buddhist).found);
}

TEST(RangeOfUnit, KeepsADayThatBeginsAtOne) {
  const DefaultZone zone(@"America/Sao_Paulo");
  const Range range(16, at(2015, 10, 18, 12));
  EXPECT_TRUE([range.start isEqualToDate:at(2015, 10, 18, 1)]);
  EXPECT_EQ(range.length, 23 * 3600);
}

TEST(NilDate, IsZeroSecondsAway) {
  EXPECT_EQ([[NSDate dateWithTimeIntervalSinceReferenceDate:12.5] timeIntervalSinceDate:nil], 12.5);
  EXPECT_EQ([unix_date(10) timeIntervalSinceDate:unix_date(4)], 6);
  EXPECT_FALSE([unix_date(0) isEqualToDate:nil]);
}

} // namespace
