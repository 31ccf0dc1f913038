#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"
#include "frameworks/Foundation/civil_date.hpp"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>

namespace {

using namespace veltro::host;

/// The offset at noon in Greenwich, in hours.
double offset(const std::string &rule, int year, int month, int day = 1) {
  const auto zone = ZoneRules::spelled(rule);
  if (!zone)
    return -99;
  return zone->offset_at(days_from_civil(year, month, day) * kSecondsInDay + 43'200) / 3600.0;
}

TEST(SpelledZone, HasAnOffsetOnly) {
  EXPECT_EQ(offset("UTC-3", 2024, 7), 3);
  EXPECT_EQ(offset("<-0330>3:30", 1950, 7), -3.5);
  EXPECT_EQ(offset("XYZ0", 2100, 7), 0);
}

TEST(SpelledZone, HasSummerTimeInEveryYear) {
  for (const int year : {1970, 1999, 2037, 2038, 2400}) {
    EXPECT_EQ(offset("CET-1CEST,M3.5.0,M10.5.0/3", year, 1), 1) << year;
    EXPECT_EQ(offset("CET-1CEST,M3.5.0,M10.5.0/3", year, 7), 2) << year;
    EXPECT_EQ(offset("AEST-10AEDT,M10.1.0,M4.1.0/3", year, 12), 11) << year;
    EXPECT_EQ(offset("AEST-10AEDT,M10.1.0,M4.1.0/3", year, 7), 10) << year;
  }
}

// From 1971 on: the C library takes the changes of 1970 for those of earlier years.
TEST(SpelledZone, HasTheOffsetsOfTheCLibrary) {
  for (const char *text : {"CET-1CEST,M3.5.0,M10.5.0/3", "NZST-12NZDT,M9.5.0,M4.1.0/3",
                           "AAA3BBB,J60/0,J300/26", "AAA-3BBB,59/-3,299", "<+0330>-3:30",
                           "IST-1GMT0,M10.5.0,M3.5.0/1", "AAA12BBB11:30,M3.2.0/2:30,M11.1.0/-1",
                           "AAA0BBB,0/-5,365/167", "AAA0BBB,365/167,0/-5", "AAA0BBB,20,20/1"}) {
    setenv("TZ", text, 1);
    tzset();
    const auto zone = ZoneRules::spelled(text);
    ASSERT_TRUE(zone) << text;
    for (std::int64_t time = 365 * kSecondsInDay; time < 5'000'000'000; time += 31 * 3600 + 1) {
      const auto seconds = static_cast<time_t>(time);
      tm parts{};
      localtime_r(&seconds, &parts);
      ASSERT_EQ(zone->offset_at(time), parts.tm_gmtoff) << text << ", " << time;
    }
  }
  unsetenv("TZ");
  tzset();
}

TEST(SpelledZone, TakesTheDatesOfTheUnitedStatesWhereThereAreNone) {
  EXPECT_EQ(offset("CET-1CEST", 2024, 3, 9), 1);
  EXPECT_EQ(offset("CET-1CEST", 2024, 3, 11), 2);
  EXPECT_EQ(offset("CET-1CEST", 2024, 11, 4), 1);
}

TEST(SpelledZone, IsNoneOfWhatIsNoRule) {
  for (const char *text : {"", "bad", "Nowhere/At_All", "/path", "CET-1CEST,M3.5.0", "UTC-3x"})
    EXPECT_FALSE(ZoneRules::spelled(text)) << text;
}

} // namespace
