#import <Foundation/Foundation.h>

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {

std::string description_at(NSTimeInterval time) {
  return [[[NSDate dateWithTimeIntervalSinceReferenceDate:time] description] UTF8String];
}

// The expected dates were worked out with Python's datetime, 400 years later.
TEST(DateDescription, CountsYearsBelow1) {
  EXPECT_EQ(description_at(-63'113'904'000), "0001-01-01 00:00:00 +0000");
  EXPECT_EQ(description_at(-63'113'904'000.5), "0000-12-31 23:59:59 +0000");
  EXPECT_EQ(description_at(-63'140'256'000), "0000-03-02 00:00:00 +0000");
  EXPECT_EQ(description_at(-6.5e10), "-059-03-27 04:26:40 +0000");
  EXPECT_EQ(description_at(-1e12), "-29688-04-06 22:13:20 +0000");
}

TEST(DateDescription, EndsForDatesWithoutAYear) {
  for (const NSTimeInterval time : {-1e16, -1e300, -std::numeric_limits<double>::infinity()})
    EXPECT_EQ(description_at(time), description_at(-1e15)) << time;
}

TEST(DateDescription, IsTheSameInACollection) {
  NSDate *const date = [NSDate dateWithTimeIntervalSinceReferenceDate:-6.5e10];
  EXPECT_EQ(std::string([[[NSArray arrayWithObject:date] description] UTF8String]),
            "(\"-059-03-27 04:26:40 +0000\")");
}

} // namespace
