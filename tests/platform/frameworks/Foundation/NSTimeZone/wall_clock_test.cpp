#include "frameworks/Foundation/NSTimeZone/wall_clock.hpp"

#include "frameworks/Foundation/civil_date.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace {

using namespace veltro::host;

LocalTime clock_at(int year, int month, int day, int hour = 0, int minute = 0) {
  return days_from_civil(year, month, day) * kSecondsInDay + hour * 3600 + minute * 60;
}

ZoneRules zone_named(const std::string &name) {
  std::ifstream in("/usr/share/zoneinfo/" + name, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>()};
  return *ZoneRules::parsed(
      std::span(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()));
}

/// What the clocks show `days` days after they show `from`.
LocalTime shown_after(const ZoneRules &zone, LocalTime from, std::int64_t days) {
  const UnixTime time = moment_of(zone, from);
  return local_time(zone, time + seconds_to_same_time(zone, time, days));
}

/// The first moment of the local day that holds `time`.
UnixTime start_of_day(const ZoneRules &zone, UnixTime time) {
  return first_moment_of_day(zone, floor_div(local_time(zone, time), kSecondsInDay));
}

LocalTime day_start_shown(const ZoneRules &zone, LocalTime at) {
  return local_time(zone, start_of_day(zone, moment_of(zone, at)));
}

TEST(WallClock, ShowsTheSameTimeTheNextDay) {
  const ZoneRules zone = zone_named("America/New_York");
  EXPECT_EQ(shown_after(zone, clock_at(2024, 3, 9, 12), 1), clock_at(2024, 3, 10, 12));
  const UnixTime noon = moment_of(zone, clock_at(2024, 3, 9, 12));
  EXPECT_EQ(seconds_to_same_time(zone, noon, 1), 23 * 3600);
  EXPECT_EQ(seconds_to_same_time(zone, moment_of(zone, clock_at(2024, 11, 2, 12)), 1), 25 * 3600);
  EXPECT_EQ(seconds_to_same_time(zone, noon, 0), 0);
}

TEST(WallClock, MovesASkippedTimeForward) {
  const ZoneRules zone = zone_named("America/New_York");
  EXPECT_EQ(local_time(zone, moment_of(zone, clock_at(2024, 3, 10, 2, 30))),
            clock_at(2024, 3, 10, 3, 30));
  EXPECT_EQ(shown_after(zone, clock_at(2024, 3, 9, 2, 30), 1), clock_at(2024, 3, 10, 3, 30));
  EXPECT_EQ(shown_after(zone, clock_at(2024, 3, 11, 2, 30), -1), clock_at(2024, 3, 10, 3, 30));
}

TEST(WallClock, TakesTheLaterOfARepeatedTime) {
  const ZoneRules zone = zone_named("America/New_York");
  const UnixTime second = clock_at(2024, 11, 3, 6, 30);
  EXPECT_EQ(moment_of(zone, clock_at(2024, 11, 3, 1, 30)), second);
}

TEST(WallClock, StepsToTheRepeatedTimeWithTheOffsetOfTheStart) {
  const ZoneRules zone = zone_named("America/New_York");
  const UnixTime before = moment_of(zone, clock_at(2024, 11, 2, 1, 30));
  EXPECT_EQ(seconds_to_same_time(zone, before, 1), 24 * 3600);
  const UnixTime after = moment_of(zone, clock_at(2024, 11, 4, 1, 30));
  EXPECT_EQ(seconds_to_same_time(zone, after, -1), -24 * 3600);
}

TEST(WallClock, BeginsADayAtOneWhereMidnightIsSkipped) {
  const ZoneRules zone = zone_named("America/Sao_Paulo");
  EXPECT_EQ(day_start_shown(zone, clock_at(2015, 10, 18, 12)), clock_at(2015, 10, 18, 1));
  EXPECT_EQ(start_of_day(zone, moment_of(zone, clock_at(2015, 10, 18, 12))),
            clock_at(2015, 10, 18, 3));
  EXPECT_EQ(shown_after(zone, clock_at(2015, 10, 25), -7), clock_at(2015, 10, 18, 1));
  EXPECT_EQ(shown_after(zone, clock_at(2015, 10, 11), 7), clock_at(2015, 10, 18, 1));
}

TEST(WallClock, BeginsADayAtTheFirstOfTwoMidnights) {
  const ZoneRules zone = zone_named("America/Havana");
  // At 01:00 the clocks go back to 00:00.
  EXPECT_EQ(start_of_day(zone, moment_of(zone, clock_at(2024, 11, 3, 12))),
            clock_at(2024, 11, 3, 4));
  EXPECT_EQ(start_of_day(zone, clock_at(2024, 11, 3, 4, 30)), clock_at(2024, 11, 3, 4));
}

TEST(WallClock, BeginsADayOnceWhereTheClocksGoBackOverMidnight) {
  const ZoneRules zone = zone_named("America/St_Johns");
  // At 00:01 the clocks went back to 23:01 of the day before.
  const UnixTime change = clock_at(2010, 11, 7, 2, 31);
  EXPECT_EQ(zone.offset_at(change - 1), -9000);
  EXPECT_EQ(start_of_day(zone, change - 1), clock_at(2010, 11, 7, 2, 30));
  EXPECT_EQ(start_of_day(zone, change), moment_of(zone, clock_at(2010, 11, 6)));
  EXPECT_EQ(start_of_day(zone, moment_of(zone, clock_at(2010, 11, 7, 12))),
            clock_at(2010, 11, 7, 2, 30));
}

TEST(WallClock, LeavesOutDaysThatNeverWere) {
  const ZoneRules apia = zone_named("Pacific/Apia");
  EXPECT_EQ(shown_after(apia, clock_at(2011, 12, 29, 10), 1), clock_at(2011, 12, 31, 10));
  EXPECT_EQ(shown_after(apia, clock_at(2011, 12, 31, 10), -1), clock_at(2011, 12, 29, 10));
  EXPECT_EQ(day_start_shown(apia, clock_at(2011, 12, 31, 5)), clock_at(2011, 12, 31));
  EXPECT_EQ(first_moment_of_day(apia, days_from_civil(2011, 12, 30)),
            first_moment_of_day(apia, days_from_civil(2011, 12, 31)));
  EXPECT_EQ(local_time(apia, moment_of(apia, clock_at(2011, 12, 30, 10))),
            clock_at(2011, 12, 31, 10));
  const ZoneRules kwajalein = zone_named("Pacific/Kwajalein");
  EXPECT_EQ(shown_after(kwajalein, clock_at(1993, 8, 20, 23), 1), clock_at(1993, 8, 22, 23));
}

TEST(WallClock, GoesFar) {
  const ZoneRules zone = zone_named("Europe/Berlin");
  const std::int64_t days = kFarthest / kSecondsInDay;
  for (const UnixTime time : {-kFarthest, UnixTime{0}, kFarthest})
    for (const std::int64_t step : {-days, days}) {
      const std::int64_t seconds = seconds_to_same_time(zone, time, step);
      EXPECT_LE(std::abs(seconds - step * kSecondsInDay), 7200);
      EXPECT_EQ(floor_mod(local_time(zone, time + seconds), kSecondsInDay),
                floor_mod(local_time(zone, time), kSecondsInDay));
    }
}

} // namespace
