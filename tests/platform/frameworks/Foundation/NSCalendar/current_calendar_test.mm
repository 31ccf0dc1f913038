#include "dates/frozen_clock.hpp"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using veltro::test::DefaultZone;

void choose_locale(NSString *name) {
  [[NSUserDefaults standardUserDefaults] setObject:name forKey:@"AppleLocale"];
}

class CurrentCalendar : public testing::Test {
protected:
  ~CurrentCalendar() override {
    [[NSUserDefaults standardUserDefaults] removeObjectForKey:@"AppleLocale"];
  }

private:
  DefaultZone zone_{@"UTC"};
};

const char *zone_of(NSCalendar *calendar) {
  return [[[calendar timeZone] name] UTF8String];
}

TEST_F(CurrentCalendar, IsNewEachTimeWithTheSettingsOfTheMoment) {
  NSCalendar *first = [NSCalendar currentCalendar];
  EXPECT_EQ([first class], [NSCalendar class]);
  EXPECT_STREQ([[first calendarIdentifier] UTF8String], "gregorian");
  DefaultZone::set(@"Asia/Tokyo");
  NSCalendar *second = [NSCalendar currentCalendar];
  EXPECT_NE(first, second);
  EXPECT_STREQ(zone_of(second), "Asia/Tokyo");
  EXPECT_STRNE(zone_of(first), "Asia/Tokyo");
}

TEST_F(CurrentCalendar, TakesItsWeeksFromTheLocale) {
  choose_locale(@"de_DE");
  EXPECT_EQ([[NSCalendar currentCalendar] firstWeekday], 2U);
  EXPECT_EQ([[NSCalendar currentCalendar] minimumDaysInFirstWeek], 4U);
  choose_locale(@"ar_EG");
  EXPECT_EQ([[NSCalendar currentCalendar] firstWeekday], 7U);
  choose_locale(@"en_US");
  EXPECT_EQ([[NSCalendar currentCalendar] firstWeekday], 1U);
  EXPECT_EQ([[NSCalendar currentCalendar] minimumDaysInFirstWeek], 1U);
}

TEST_F(CurrentCalendar, IsTheOneThatTheLocaleNames) {
  choose_locale(@"th_TH@calendar=buddhist");
  EXPECT_STREQ([[[NSCalendar currentCalendar] calendarIdentifier] UTF8String], "buddhist");
  NSDate *date = [NSDate dateWithTimeIntervalSince1970:0];
  EXPECT_EQ([[[NSCalendar currentCalendar] components:4 fromDate:date] year], 2513);
}

TEST_F(CurrentCalendar, AutoupdatingIsOneObject) {
  NSCalendar *calendar = [NSCalendar autoupdatingCurrentCalendar];
  EXPECT_EQ([calendar class], [NSCalendar class]);
  EXPECT_EQ(calendar, [NSCalendar autoupdatingCurrentCalendar]);
  EXPECT_NE(calendar, [NSCalendar currentCalendar]);
}

TEST_F(CurrentCalendar, AutoupdatingFollowsTheTimeZone) {
  NSCalendar *calendar = [NSCalendar autoupdatingCurrentCalendar];
  NSDate *date = [NSDate dateWithTimeIntervalSince1970:0];
  EXPECT_EQ([[calendar components:32 fromDate:date] hour], 0);
  DefaultZone::set(@"Asia/Tokyo");
  EXPECT_STREQ(zone_of(calendar), "Asia/Tokyo");
  EXPECT_EQ([[calendar components:32 fromDate:date] hour], 9);
  NSDate *start = nil;
  [calendar rangeOfUnit:NSCalendarUnitDay startDate:&start interval:nullptr forDate:date];
  EXPECT_EQ([start timeIntervalSince1970], -9 * 3600);
}

TEST_F(CurrentCalendar, AutoupdatingFollowsTheLocale) {
  NSCalendar *calendar = [NSCalendar autoupdatingCurrentCalendar];
  NSDate *date = [NSDate dateWithTimeIntervalSince1970:1'672'531'200]; // Sunday 1 January 2023
  choose_locale(@"en_US");
  EXPECT_EQ([[calendar components:256 fromDate:date] week], 1);
  EXPECT_EQ([calendar firstWeekday], 1U);
  choose_locale(@"de_DE");
  EXPECT_EQ([[calendar components:256 fromDate:date] week], 52);
  EXPECT_EQ([calendar firstWeekday], 2U);
  EXPECT_EQ([calendar minimumDaysInFirstWeek], 4U);
  EXPECT_TRUE([[[calendar locale] localeIdentifier] hasPrefix:@"de_DE"]);
  choose_locale(@"en_US@calendar=japanese");
  EXPECT_STREQ([[calendar calendarIdentifier] UTF8String], "japanese");
}

TEST_F(CurrentCalendar, AutoupdatingOutlivesChangesOfTheUserDefaults) {
  NSCalendar *calendar = [NSCalendar autoupdatingCurrentCalendar];
  NSUserDefaults *defaults = [NSUserDefaults standardUserDefaults];
  for (int i = 0; i < 3; ++i)
    [defaults setObject:[NSNumber numberWithInt:i] forKey:@"counter"];
  [[NSNotificationCenter defaultCenter] postNotificationName:NSUserDefaultsDidChangeNotification
                                                      object:defaults];
  [defaults removeObjectForKey:@"counter"];
  EXPECT_EQ([[calendar components:4 fromDate:[NSDate dateWithTimeIntervalSince1970:0]] year], 1970);
}

TEST_F(CurrentCalendar, AutoupdatingDoesWhatGNUstepStillDoes) {
  NSCalendar *calendar = [NSCalendar autoupdatingCurrentCalendar];
  NSDate *date = [NSDate dateWithTimeIntervalSince1970:0];
  NSDateComponents *between = [calendar components:16
                                          fromDate:date
                                            toDate:[NSDate dateWithTimeIntervalSince1970:86'400 * 3]
                                           options:0];
  EXPECT_EQ([between day], 3);
  EXPECT_EQ([calendar maximumRangeOfUnit:NSCalendarUnitDay].length, 31U);
  EXPECT_EQ([calendar minimumRangeofUnit:NSCalendarUnitDay].length, 28U);
  NSCalendar *fixed = [NSCalendar currentCalendar];
  EXPECT_TRUE(NSEqualRanges([calendar rangeOfUnit:NSCalendarUnitDay
                                           inUnit:NSCalendarUnitMonth
                                          forDate:date],
                            [fixed rangeOfUnit:NSCalendarUnitDay
                                        inUnit:NSCalendarUnitMonth
                                       forDate:date]));
  EXPECT_EQ([calendar ordinalityOfUnit:NSCalendarUnitDay inUnit:NSCalendarUnitMonth forDate:date],
            [fixed ordinalityOfUnit:NSCalendarUnitDay inUnit:NSCalendarUnitMonth forDate:date]);
  NSCalendar *copy = [[calendar copy] autorelease];
  EXPECT_STREQ(zone_of(copy), zone_of(calendar));
}

TEST_F(CurrentCalendar, StandsSeveralThreads) {
  NSCalendar *shared = [NSCalendar autoupdatingCurrentCalendar];
  NSCalendar *fixed = [NSCalendar currentCalendar];
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  threads.reserve(6);
  for (int number = 0; number < 6; ++number)
    threads.emplace_back([&, number] {
      for (int round = 0; round < 300; ++round) {
        @autoreleasepool {
          NSDate *date = [NSDate dateWithTimeIntervalSince1970:(number * 300 + round) * 86'400.0];
          NSCalendar *calendar = round % 2 == 0 ? shared : fixed;
          NSDateComponents *found = [calendar components:28 fromDate:date];
          wrong += [[calendar dateFromComponents:found] isEqualToDate:date] ? 0 : 1;
          if (number == 0 && round % 50 == 0)
            DefaultZone::set(round % 100 == 0 ? @"UTC" : @"Africa/Abidjan");
        }
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(CurrentCalendar, LocaleIsTheEnvironmentsWithoutTheDefault) {
  NSString *environments = [[NSLocale currentLocale] localeIdentifier];
  choose_locale(@"fr_CA");
  EXPECT_STREQ([[[NSLocale currentLocale] localeIdentifier] UTF8String], "fr_CA");
  EXPECT_EQ([NSLocale currentLocale], [NSLocale currentLocale]);
  choose_locale(@"");
  EXPECT_TRUE([[[NSLocale currentLocale] localeIdentifier] isEqualToString:environments]);
}

TEST(SystemTimeZone, IsTheOneThatTZNames) {
  setenv("TZ", "Asia/Kathmandu", 1);
  EXPECT_STREQ([[[NSTimeZone systemTimeZone] name] UTF8String], "Asia/Kathmandu");
  setenv("TZ", ":Europe/Berlin", 1);
  EXPECT_STREQ([[[NSTimeZone systemTimeZone] name] UTF8String], "Europe/Berlin");
  setenv("TZ", "UTC", 1);
}

TEST(SystemTimeZone, IsTheOneThatTZSpells) {
  NSDate *const july = [NSDate dateWithTimeIntervalSince1970:1'720'000'000];
  for (const char *text : {"CET-1CEST,M3.5.0,M10.5.0/3", ":/usr/share/zoneinfo/Europe/Berlin"}) {
    setenv("TZ", text, 1);
    NSTimeZone *const zone = [NSTimeZone systemTimeZone];
    EXPECT_EQ([zone secondsFromGMTForDate:july], 7200) << text;
    EXPECT_EQ([NSTimeZone systemTimeZone], zone) << "made once";
    NSCalendar *const calendar = [NSCalendar currentCalendar];
    [calendar setTimeZone:zone];
    EXPECT_EQ([[calendar components:NSCalendarUnitHour fromDate:july] hour], 11) << text;
    NSDate *const january = [NSDate dateWithTimeIntervalSince1970:1'704'103'200];
    EXPECT_EQ([zone secondsFromGMTForDate:january], 3600) << text;
    EXPECT_EQ([[calendar components:NSCalendarUnitHour fromDate:january] hour], 11) << text;
  }
  setenv("TZ", "UTC-3", 1);
  EXPECT_EQ([[NSTimeZone systemTimeZone] secondsFromGMTForDate:july], 10'800);
  setenv("TZ", "UTC", 1);
}

bool system_zone_is_another_than(const char *name) {
  @try {
    NSString *const found = [[NSTimeZone systemTimeZone] name];
    return found != nil && ![found isEqualToString:[NSString stringWithUTF8String:name]];
  } @catch (NSException *) {
    return false;
  }
}

/// In a process of its own: what GNUstep parses on the way it does not free.
TEST(SystemTimeZone, IsGNUstepsWhereTZNamesNone) {
  for (const char *name : {"Nowhere/At_All", "", ":", "/nowhere", "/etc/passwd", "/dev/null"}) {
    setenv("TZ", name, 1);
    EXPECT_EXIT(_exit(system_zone_is_another_than(name) ? 0 : 1), testing::ExitedWithCode(0), "");
  }
  unsetenv("TZ");
  EXPECT_EXIT(_exit([NSTimeZone systemTimeZone] != nil ? 0 : 1), testing::ExitedWithCode(0), "");
  setenv("TZ", "UTC", 1);
}

} // namespace
