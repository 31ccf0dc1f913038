// The date methods in every time zone of the installed database, around its changes of the clocks
// from 1970 to 2037, against what Python's zoneinfo works out (scripts/generate-zone-table, which
// says what it looks at). Every zone is covered under its first name. It takes every twelfth
// change, each zone's last, and all by whole days; VELTRO_ZONE_SAMPLE=1 takes every change, and
// under the address sanitizer there are no twelfths.

#include "dates/frozen_clock.hpp"

#import <veltro/NSDate+Veltro.h>
#import <veltro/NSDate+ZLT.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kParts = 6;

#if __has_feature(address_sanitizer)
constexpr const char *kSample = "0";
#else
constexpr const char *kSample = "12";
#endif

constexpr NSUInteger kFields = NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay |
                               NSCalendarUnitHour | NSCalendarUnitMinute | NSCalendarUnitSecond |
                               NSUInteger{NSWeekCalendarUnit} | NSCalendarUnitWeekday |
                               NSCalendarUnitWeekdayOrdinal;

NSDate *date_of(double seconds) {
  return [NSDate dateWithTimeIntervalSince1970:seconds];
}

void check_fields(const std::vector<long> &fact) {
  NSCalendar *calendar = [NSCalendar currentCalendar];
  [calendar setFirstWeekday:2];
  [calendar setMinimumDaysInFirstWeek:4];
  NSDate *date = date_of(static_cast<double>(fact[0]) + 0.25);
  NSDateComponents *components = [calendar components:kFields fromDate:date];
  const std::vector<long> found{
      fact[0],           [components year],   [components month],  [components day],
      [components hour], [components minute], [components second], [components weekday],
      [components week]};
  EXPECT_EQ(found, fact);
  // A minute whose beginning the clocks skip (Liberia's of 1972 has 30 seconds) comes out as
  // another.
  const auto begin = static_cast<double>(fact[0] - fact[6]);
  if ([[calendar components:kFields fromDate:date_of(begin)] second] != 0)
    return;
  // Of an hour that comes twice the later pass is the result.
  NSDate *minute = [date zlt_normalizedDateWithDate];
  EXPECT_GE([minute timeIntervalSince1970], begin);
  EXPECT_TRUE([date zlt_isEqualIgnoringTimeInSecond:minute]);
  EXPECT_TRUE([date zlt_isEqualIgnoringTimeInSecond:date_of(begin)]);
  EXPECT_TRUE([minute veltro_isEqualToDateIgnoringTime:date]);
}

/// `moment`, and when its day began.
void check_start(double moment, double start) {
  NSDate *found = nil;
  ASSERT_TRUE([[NSCalendar currentCalendar] rangeOfUnit:NSCalendarUnitDay
                                              startDate:&found
                                               interval:nullptr
                                                forDate:date_of(moment)]);
  ASSERT_EQ([found timeIntervalSince1970], start);

  veltro::test::FrozenClock::set(moment);
  EXPECT_TRUE([date_of(start) veltro_isToday]);
  EXPECT_FALSE([date_of(start - 1) veltro_isToday]);
  EXPECT_TRUE([date_of(start - 1) veltro__occuredDaysBeforeToday:1]);
  EXPECT_FALSE([date_of(start) veltro__occuredDaysBeforeToday:1]);
}

void check_added(double moment, long days, double result) {
  EXPECT_EQ([[date_of(moment) veltro_dateByAddingDays:days] timeIntervalSince1970], result);
  EXPECT_EQ([[date_of(moment + 0.5) veltro_dateBySubtractingDays:-days] timeIntervalSince1970],
            result + 0.5);
}

/// One line of the table.
void check(const std::string &line) {
  std::istringstream in(line);
  std::string kind;
  in >> kind;
  if (kind == "zone") {
    std::string name;
    in >> name;
    veltro::test::DefaultZone::set([NSString stringWithUTF8String:name.c_str()]);
    ASSERT_STREQ([[[NSTimeZone defaultTimeZone] name] UTF8String], name.c_str());
    return;
  }
  std::vector<long> fact;
  for (long number = 0; in >> number;)
    fact.push_back(number);
  const auto seconds = [&](std::size_t index) { return static_cast<double>(fact.at(index)); };
  if (kind == "fields")
    check_fields(fact);
  else if (kind == "start")
    check_start(seconds(0), seconds(1));
  else if (kind == "add")
    check_added(seconds(0), fact.at(1), seconds(2));
  else
    FAIL() << "no such fact";
}

class Zones : public testing::TestWithParam<int> {};

TEST_P(Zones, AgreeWithTheReference) {
  const char *sample = std::getenv("VELTRO_ZONE_SAMPLE");
  const std::string command = std::string(VELTRO_SOURCE_DIR "/scripts/generate-zone-table") +
                              " --sample " + (sample != nullptr ? sample : kSample) + " --part " +
                              std::to_string(GetParam()) + "/" + std::to_string(kParts);
  const veltro::test::DefaultZone zone(@"UTC");
  const veltro::test::FrozenClock clock;
  FILE *table = popen(command.c_str(), "r");
  ASSERT_NE(table, nullptr);
  std::array<char, 4096> buffer{};
  std::string zone_line;
  int zones = 0;
  int facts = 0;
  while (std::fgets(buffer.data(), buffer.size(), table) != nullptr) {
    const std::string line(buffer.data(),
                           std::string_view(buffer.data()).find_last_not_of('\n') + 1);
    if (line.starts_with("zone")) {
      zone_line = line;
      ++zones;
    }
    ++facts;
    if (!HasFailure()) {
      SCOPED_TRACE(testing::Message() << zone_line << " | " << line);
      @autoreleasepool {
        check(line);
      }
    }
  }
  EXPECT_EQ(pclose(table), 0);
  EXPECT_GE(zones, 10);
  EXPECT_GE(facts, 1000);
  RecordProperty("zones", zones);
  RecordProperty("facts", facts);
}

INSTANTIATE_TEST_SUITE_P(OfTheDatabase, Zones, testing::Range(0, kParts));

} // namespace
