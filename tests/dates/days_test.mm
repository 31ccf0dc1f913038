// What the date categories return, with a clock that stands still.

#include "dates/frozen_clock.hpp"

#import <veltro/NSDate+Veltro.h>
#import <veltro/NSDate+ZLT.h>

#include <cmath>
#include <gtest/gtest.h>

namespace {

using veltro::test::at;

/// New York, Wednesday 13 March 2024, 15:30, three days after the clocks went forward; weeks begin
/// on Sunday.
class Days : public testing::Test {
protected:
  Days() { veltro::test::FrozenClock::set([at(2024, 3, 13, 15, 30) timeIntervalSince1970]); }

  static NSDate *after(NSDate *date, double seconds) {
    return [NSDate
        dateWithTimeIntervalSinceReferenceDate:[date timeIntervalSinceReferenceDate] + seconds];
  }

private:
  veltro::test::DefaultZone zone_{@"America/New_York"};
  veltro::test::FrozenClock clock_;
};

TEST_F(Days, ADayIsTheSameFromMidnightToMidnight) {
  NSDate *noon = at(2024, 3, 12, 12);
  EXPECT_TRUE([noon veltro_isEqualToDateIgnoringTime:at(2024, 3, 12)]);
  EXPECT_TRUE([noon veltro_isEqualToDateIgnoringTime:at(2024, 3, 12, 23, 59, 59.999)]);
  EXPECT_FALSE([noon veltro_isEqualToDateIgnoringTime:at(2024, 3, 13)]);
  EXPECT_FALSE([noon veltro_isEqualToDateIgnoringTime:at(2024, 3, 11, 23, 59, 59.999)]);
}

TEST_F(Days, ADayNeedsItsMonthAndYear) {
  EXPECT_FALSE([at(2024, 3, 12) veltro_isEqualToDateIgnoringTime:at(2024, 4, 12)]);
  EXPECT_FALSE([at(2024, 3, 12) veltro_isEqualToDateIgnoringTime:at(2023, 3, 12)]);
}

TEST_F(Days, ErasAreNotCompared) {
  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  [components setEra:0];
  [components setYear:44];
  [components setMonth:3];
  [components setDay:15];
  NSDate *ides = [[NSCalendar currentCalendar] dateFromComponents:components];
  EXPECT_TRUE([ides veltro_isEqualToDateIgnoringTime:at(44, 3, 15, 10)]);
}

TEST_F(Days, TodayIsTheDayOfTheClock) {
  EXPECT_TRUE([at(2024, 3, 13) veltro_isToday]);
  EXPECT_TRUE([at(2024, 3, 13, 23, 59, 59) veltro_isToday]);
  EXPECT_FALSE([at(2024, 3, 14) veltro_isToday]);
  EXPECT_FALSE([at(2024, 3, 12, 23, 59, 59) veltro_isToday]);
}

TEST_F(Days, YesterdayIsTheDayBeforeTheClocks) {
  EXPECT_TRUE([at(2024, 3, 12) veltro_isYesterday]);
  EXPECT_TRUE([at(2024, 3, 12, 23, 59, 59) veltro_isYesterday]);
  EXPECT_FALSE([at(2024, 3, 13) veltro_isYesterday]);
  EXPECT_FALSE([at(2024, 3, 11, 23, 59, 59) veltro_isYesterday]);
}

TEST_F(Days, YesterdayLaterThanMidnightOfALongDay) {
  // A day of 25 hours: 24 hours before 23:30 the same day is still not over.
  veltro::test::FrozenClock::set([at(2024, 11, 3, 23, 30) timeIntervalSince1970]);
  EXPECT_TRUE([at(2024, 11, 2, 12) veltro_isYesterday]);
  EXPECT_FALSE([at(2024, 11, 3, 0, 30) veltro_isYesterday]);
}

TEST_F(Days, DateYesterdayKeepsTheTimeOfDay) {
  EXPECT_EQ([[NSDate veltro_dateYesterday] compare:at(2024, 3, 12, 15, 30)], NSOrderedSame);
  EXPECT_EQ([[NSDate veltro_dateWithDaysBeforeNow:4] compare:at(2024, 3, 9, 15, 30)],
            NSOrderedSame);
  EXPECT_EQ([[NSDate veltro_dateWithDaysBeforeNow:0] compare:at(2024, 3, 13, 15, 30)],
            NSOrderedSame);
  EXPECT_EQ([[NSDate veltro_dateWithDaysBeforeNow:-1] compare:at(2024, 3, 14, 15, 30)],
            NSOrderedSame);
}

TEST_F(Days, AddingDaysKeepsTheTimeOfDay) {
  NSDate *before = at(2024, 3, 9, 10);
  EXPECT_EQ([[before veltro_dateByAddingDays:1] timeIntervalSinceDate:before], 23 * 3600.0);
  NSDate *autumn = at(2024, 11, 2, 10);
  EXPECT_EQ([[autumn veltro_dateByAddingDays:1] timeIntervalSinceDate:autumn], 25 * 3600.0);
  EXPECT_EQ([[at(2024, 3, 10, 10) veltro_dateBySubtractingDays:1] compare:before], NSOrderedSame);
}

TEST_F(Days, ManyDaysAreCountedOneByOne) {
  // Over a 29 February, and over ten years with three of them.
  EXPECT_EQ([[at(2024, 3, 13, 10) veltro_dateBySubtractingDays:366] compare:at(2023, 3, 13, 10)],
            NSOrderedSame);
  EXPECT_EQ([[at(2014, 3, 13, 10) veltro_dateByAddingDays:3653] compare:at(2024, 3, 13, 10)],
            NSOrderedSame);
}

TEST_F(Days, AddingDaysMovesASkippedTimeForward) {
  EXPECT_EQ([[at(2024, 3, 9, 2, 30) veltro_dateByAddingDays:1] compare:at(2024, 3, 10, 3, 30)],
            NSOrderedSame);
}

TEST_F(Days, AddingDaysKeepsFractionsOfASecond) {
  NSDate *date = [NSDate dateWithTimeIntervalSinceReferenceDate:100.0625];
  EXPECT_EQ([[date veltro_dateByAddingDays:0] timeIntervalSinceReferenceDate], 100.0625);
  EXPECT_EQ([[date veltro_dateByAddingDays:3] timeIntervalSinceReferenceDate],
            100.0625 + 3 * 86400);
  date = [NSDate dateWithTimeIntervalSinceReferenceDate:-100.0625];
  EXPECT_EQ([[date veltro_dateBySubtractingDays:3] timeIntervalSinceReferenceDate],
            -100.0625 - 3 * 86400);
}

TEST_F(Days, AnyNumberOfDaysHasAResult) {
  NSDate *now = [NSDate date];
  for (const NSInteger days :
       {NSIntegerMin, NSIntegerMin + 1,
#ifdef __LP64__
        NSInteger{-1} << 40, NSInteger{-2147483649}, NSInteger{2147483648}, NSInteger{1} << 40,
#endif
        NSIntegerMax - 1}) {
    const double moved = [[now veltro_dateByAddingDays:days] timeIntervalSinceDate:now] / 86400;
    EXPECT_NEAR(moved / static_cast<double>(days), 1, 1e-9) << days;
    EXPECT_NE([now veltro_dateBySubtractingDays:days], nil);
    EXPECT_NE([NSDate veltro_dateWithDaysBeforeNow:days], nil);
    EXPECT_FALSE([now veltro__occuredDaysBeforeToday:days]) << "now is not before today";
  }
}

TEST_F(Days, TheMarkForNoNumberAddsNothing) {
  NSDate *now = [NSDate date];
  EXPECT_TRUE([[now veltro_dateByAddingDays:NSIntegerMax] isEqualToDate:now]);
  EXPECT_TRUE([[now veltro_dateBySubtractingDays:NSIntegerMin + 1] isEqualToDate:now]);
}

TEST_F(Days, DatesFarAwayHaveResults) {
  for (const double seconds : {1e12, -1e12, 1e15, -1e15, 1e300, -1e300, HUGE_VAL, -HUGE_VAL}) {
    NSDate *date = [NSDate dateWithTimeIntervalSinceReferenceDate:seconds];
    EXPECT_FALSE([date veltro_isToday]);
    EXPECT_FALSE([date veltro_isYesterday]);
    EXPECT_FALSE([date veltro_isLastWeek]);
    EXPECT_FALSE([date veltro_dayOccuredDuringLast7Days]);
    EXPECT_NE([date veltro_dateByAddingDays:1], nil) << seconds;
    const bool has_fields = std::abs(seconds) < 1e15;
    EXPECT_EQ([date zlt_normalizedDateWithDate] != nil, has_fields) << seconds;
    EXPECT_FALSE([date zlt_isEqualIgnoringTimeInSecond:[NSDate date]]) << seconds;
  }
}

TEST_F(Days, AWeekIsTheSameFromSundayToSunday) {
  NSDate *start = at(2024, 1, 7);
  EXPECT_TRUE([start veltro_isSameWeekAsDate:start]);
  EXPECT_TRUE([start veltro_isSameWeekAsDate:after(start, 604799.9)]);
  EXPECT_TRUE([after(start, 604799.9) veltro_isSameWeekAsDate:start]);
  EXPECT_FALSE([start veltro_isSameWeekAsDate:after(start, 604800)]);
  EXPECT_FALSE([start veltro_isSameWeekAsDate:after(start, -0.1)]);
  EXPECT_FALSE([after(start, -0.1) veltro_isSameWeekAsDate:start]);
}

TEST_F(Days, AWeekOfMoreThanSevenTimes86400SecondsIsNotAllTheSame) {
  // The week in which the clocks go back lasts an hour longer.
  NSDate *start = at(2024, 11, 3);
  EXPECT_TRUE([start veltro_isSameWeekAsDate:after(start, 604799)]);
  EXPECT_FALSE([start veltro_isSameWeekAsDate:after(start, 604800)]);
  EXPECT_TRUE([at(2024, 11, 4) veltro_isSameWeekAsDate:at(2024, 11, 9, 23, 59, 59)]);
}

TEST_F(Days, EqualWeekNumbersOfOtherYearsAreOtherWeeks) {
  EXPECT_FALSE([at(2024, 3, 13) veltro_isSameWeekAsDate:at(2023, 3, 15)]);
  EXPECT_FALSE([at(2024, 3, 13) veltro_isSameWeekAsDate:at(2025, 3, 12)]);
}

TEST_F(Days, AWeekContinuesOverTheNewYear) {
  // Sunday 29 December 2024 to Saturday 4 January 2025 is week 1.
  EXPECT_TRUE([at(2024, 12, 30) veltro_isSameWeekAsDate:at(2025, 1, 3)]);
  EXPECT_FALSE([at(2024, 12, 28) veltro_isSameWeekAsDate:at(2024, 12, 30)]);
}

TEST_F(Days, LastWeekIsTheWeekBeforeTheClocks) {
  EXPECT_TRUE([at(2024, 3, 3) veltro_isLastWeek]);
  EXPECT_TRUE([at(2024, 3, 9, 23, 59, 59) veltro_isLastWeek]);
  EXPECT_FALSE([at(2024, 3, 10) veltro_isLastWeek]);
  EXPECT_FALSE([at(2024, 3, 13, 15, 30) veltro_isLastWeek]);
  EXPECT_FALSE([at(2024, 3, 2, 23, 59, 59) veltro_isLastWeek]);
  EXPECT_FALSE([at(2023, 3, 7) veltro_isLastWeek]);
}

TEST_F(Days, LastWeekIsSevenTimes86400SecondsAgo) {
  // Sunday 17 March, 00:30: the clocks went forward on the Sunday before, so that seven times 86400
  // seconds reach back to Saturday the 9th, 23:30.
  veltro::test::FrozenClock::set([at(2024, 3, 17, 0, 30) timeIntervalSince1970]);
  EXPECT_TRUE([at(2024, 3, 9, 12) veltro_isLastWeek]);
  EXPECT_FALSE([at(2024, 3, 10, 12) veltro_isLastWeek]);
}

TEST_F(Days, TheLast7DaysAreOpenAtBothMidnights) {
  NSDate *first = at(2024, 3, 6);
  NSDate *today = at(2024, 3, 13);
  EXPECT_FALSE([after(first, -1) veltro_dayOccuredDuringLast7Days]);
  EXPECT_FALSE([first veltro_dayOccuredDuringLast7Days]);
  EXPECT_TRUE([after(first, 1) veltro_dayOccuredDuringLast7Days]);
  EXPECT_TRUE([after(today, -1) veltro_dayOccuredDuringLast7Days]);
  EXPECT_FALSE([today veltro_dayOccuredDuringLast7Days]);
  EXPECT_FALSE([after(today, 1) veltro_dayOccuredDuringLast7Days]);
  EXPECT_FALSE([at(2024, 3, 13, 23, 59, 59) veltro_dayOccuredDuringLast7Days]);
  EXPECT_FALSE([at(2024, 3, 14) veltro_dayOccuredDuringLast7Days]);
}

TEST_F(Days, DaysBeforeTodayCountBack) {
  EXPECT_TRUE([at(2024, 3, 12, 0, 0, 1) veltro__occuredDaysBeforeToday:1]);
  EXPECT_FALSE([at(2024, 3, 12) veltro__occuredDaysBeforeToday:1]);
  EXPECT_FALSE([at(2024, 3, 11, 23, 59, 59) veltro__occuredDaysBeforeToday:1]);
  EXPECT_TRUE([at(2024, 3, 11, 23, 59, 59) veltro__occuredDaysBeforeToday:2]);
  EXPECT_TRUE([at(1999, 3, 11) veltro__occuredDaysBeforeToday:10000]);
}

TEST_F(Days, NoDayLiesZeroOrFewerDaysBeforeToday) {
  for (const NSInteger days :
       {NSInteger{0}, NSInteger{-1}, NSInteger{-7}, NSIntegerMin + 1, NSIntegerMin})
    for (NSDate *date : {at(2024, 3, 12, 12), at(2024, 3, 13), at(2024, 3, 13, 15), at(2024, 3, 14),
                         at(2024, 3, 16), [NSDate distantPast], [NSDate distantFuture]})
      EXPECT_FALSE([date veltro__occuredDaysBeforeToday:days]) << days;
}

TEST_F(Days, NothingIsEqualToNoDate) {
  NSDate *now = [NSDate date];
  for (NSDate *date : {now, [NSDate dateWithTimeIntervalSinceReferenceDate:0], [NSDate distantPast],
                       [NSDate distantFuture]}) {
    EXPECT_FALSE([date veltro_isEqualToDateIgnoringTime:nil]);
    EXPECT_FALSE([date veltro_isSameWeekAsDate:nil]);
    EXPECT_FALSE([date zlt_isEqualIgnoringTimeInSecond:nil]);
  }
}

TEST_F(Days, AMinuteIsCutOffItsSeconds) {
  NSDate *minute = at(2024, 3, 13, 10, 0);
  EXPECT_EQ([[at(2024, 3, 13, 10, 0, 59.9) zlt_normalizedDateWithDate] compare:minute],
            NSOrderedSame);
  EXPECT_EQ([[minute zlt_normalizedDateWithDate] compare:minute], NSOrderedSame);
  // Before 2001, where the platform's count is negative.
  EXPECT_EQ([[at(1969, 12, 31, 23, 59, 30.25) zlt_normalizedDateWithDate]
                compare:at(1969, 12, 31, 23, 59)],
            NSOrderedSame);
}

TEST_F(Days, MinutesAreComparedByTheClock) {
  EXPECT_TRUE([at(2024, 3, 13, 10) zlt_isEqualIgnoringTimeInSecond:at(2024, 3, 13, 10, 0, 59.9)]);
  EXPECT_FALSE([at(2024, 3, 13, 10, 0, 59) zlt_isEqualIgnoringTimeInSecond:at(2024, 3, 13, 10, 1)]);
  EXPECT_FALSE([at(2024, 3, 13, 10) zlt_isEqualIgnoringTimeInSecond:at(2024, 3, 13, 11)]);
  EXPECT_FALSE([at(2024, 3, 13, 10) zlt_isEqualIgnoringTimeInSecond:at(2024, 3, 14, 10)]);
}

TEST_F(Days, FollowAChangeOfTheTimeZone) {
  NSDate *date = at(2024, 3, 13, 1);
  EXPECT_TRUE([date veltro_isToday]);
  const veltro::test::DefaultZone zone(@"America/Los_Angeles");
  EXPECT_FALSE([date veltro_isToday]);
  EXPECT_TRUE([date veltro_isYesterday]);
}

TEST_F(Days, BelongToTheCaller) {
  NSDate *date = nil;
  @autoreleasepool {
    date = [[[NSDate date] veltro_dateByAddingDays:1] retain];
  }
  EXPECT_EQ([date retainCount], 1U);
  [date release];
}

} // namespace
