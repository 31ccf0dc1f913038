#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"

#include "frameworks/Foundation/civil_date.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace veltro::host;

UnixTime utc(int year, int month, int day, int hour = 0, int minute = 0) {
  return days_from_civil(year, month, day) * kSecondsInDay + hour * 3600 + minute * 60;
}

std::vector<std::uint8_t> file_of(const std::string &zone) {
  std::ifstream in("/usr/share/zoneinfo/" + zone, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A time-zone file of the first version with one change: +1:00 until `time`, then +2:00.
std::vector<std::uint8_t> old_file(std::uint32_t time) {
  std::vector<std::uint8_t> file{'T', 'Z', 'i', 'f'};
  file.resize(20);
  const auto add = [&](std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8)
      file.push_back(static_cast<std::uint8_t>(number >> shift));
  };
  for (const std::uint32_t count : {0U, 0U, 0U, 1U, 2U, 4U})
    add(count);
  add(time);
  file.push_back(1);
  add(3600);
  file.insert(file.end(), {0, 0});
  add(7200);
  file.insert(file.end(), {1, 0});
  file.insert(file.end(), {'A', 'B', 'C', 0});
  return file;
}

TEST(ZoneRules, OfAFixedOffset) {
  const ZoneRules zone = ZoneRules::fixed(-12345);
  EXPECT_EQ(zone.offset_at(-1'000'000'000'000'000), -12345);
  EXPECT_EQ(zone.offset_at(1'000'000'000'000'000), -12345);
  EXPECT_TRUE(zone.transitions_between(-1'000'000, 1'000'000).empty());
}

TEST(ZoneRules, ChangeAtTheVerySecond) {
  const auto zone = ZoneRules::parsed(file_of("America/New_York"));
  ASSERT_TRUE(zone);
  const UnixTime change = utc(2024, 3, 10, 7);
  EXPECT_EQ(zone->offset_at(change - 1), -5 * 3600);
  EXPECT_EQ(zone->offset_at(change), -4 * 3600);
}

TEST(ZoneRules, GoBackBeforeTheFirstTableAndOnAfterTheLast) {
  const auto zone = ZoneRules::parsed(file_of("America/New_York"));
  ASSERT_TRUE(zone);
  EXPECT_EQ(zone->offset_at(utc(1800, 1, 1)), -17762); // local mean time
  EXPECT_EQ(zone->offset_at(utc(2100, 7, 1)), -4 * 3600);
  EXPECT_EQ(zone->offset_at(utc(2100, 1, 1)), -5 * 3600);
  EXPECT_EQ(zone->offset_at(utc(9000, 3, 15)), -4 * 3600);
}

TEST(ZoneRules, FollowTheYearlyRuleOfTheSouth) {
  const auto zone = ZoneRules::parsed(file_of("Australia/Sydney"));
  ASSERT_TRUE(zone);
  EXPECT_EQ(zone->offset_at(utc(2050, 1, 1)), 11 * 3600);
  EXPECT_EQ(zone->offset_at(utc(2050, 7, 1)), 10 * 3600);
  EXPECT_EQ(zone->offset_at(utc(2050, 12, 31, 23, 59)), 11 * 3600);
}

TEST(ZoneRules, ListTransitionsFromTheTableAndFromTheRule) {
  const auto zone = ZoneRules::parsed(file_of("Europe/Berlin"));
  ASSERT_TRUE(zone);
  const auto found = zone->transitions_between(utc(2024, 3, 31, 1) - 1, utc(2024, 10, 27, 1));
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].time, utc(2024, 3, 31, 1));
  EXPECT_EQ(found[0].offset, 7200);
  EXPECT_EQ(found[1].time, utc(2024, 10, 27, 1));
  EXPECT_EQ(found[1].offset, 3600);
  EXPECT_TRUE(zone->transitions_between(utc(2024, 3, 31, 1), utc(2024, 10, 27, 1) - 1).empty());
  EXPECT_EQ(zone->transitions_between(utc(2036, 1, 1), utc(2041, 1, 1)).size(), 10U);
  const auto late = zone->transitions_between(utc(2100, 1, 1), utc(2101, 1, 1));
  ASSERT_EQ(late.size(), 2U);
  EXPECT_EQ(late[0].time, utc(2100, 3, 28, 1));
}

TEST(ZoneRules, ReadTheFirstVersionOfTheFile) {
  const auto zone = ZoneRules::parsed(old_file(1000));
  ASSERT_TRUE(zone);
  EXPECT_EQ(zone->offset_at(999), 3600);
  EXPECT_EQ(zone->offset_at(1000), 7200);
  EXPECT_EQ(zone->offset_at(utc(2500, 1, 1)), 7200);
}

TEST(ZoneRules, RefuseWhatIsNoTimeZoneFile) {
  EXPECT_FALSE(ZoneRules::parsed({}));
  auto file = old_file(1000);
  file[0] = 'X';
  EXPECT_FALSE(ZoneRules::parsed(file));
  file = old_file(1000);
  file[48] = 2; // a type that the file does not have
  EXPECT_FALSE(ZoneRules::parsed(file));
  file = old_file(1000);
  file[4] = '2'; // promises a second part
  EXPECT_FALSE(ZoneRules::parsed(file));
  const auto whole = file_of("Europe/Berlin");
  for (std::size_t size = 0; size + 40 < whole.size(); size += 7)
    EXPECT_FALSE(ZoneRules::parsed(std::span(whole).first(size))) << size;
}

TEST(ZoneRules, RefuseTransitionsOutOfOrder) {
  auto file = file_of("Europe/Berlin");
  const std::string text(file.begin(), file.end());
  const std::size_t second = text.find("TZif", 4);
  ASSERT_NE(second, std::string::npos);
  file[second + 44 + 8 * 4] = 0x7F;
  EXPECT_FALSE(ZoneRules::parsed(file));
}

/// The transitions of the year in Greenwich.
std::vector<Transition> transitions_of(const ZoneRules &zone, int year) {
  return zone.transitions_between(utc(year, 1, 1) - 1, utc(year + 1, 1, 1) - 1);
}

void expect_transitions(const char *rule, UnixTime from, UnixTime to,
                        const std::vector<std::pair<UnixTime, std::int32_t>> &expected) {
  const auto zone = ZoneRules::spelled(rule);
  ASSERT_TRUE(zone) << rule;
  std::vector<std::pair<UnixTime, std::int32_t>> found;
  for (const Transition &transition : zone->transitions_between(from, to))
    found.emplace_back(transition.time, transition.offset);
  EXPECT_EQ(found, expected) << rule;
}

TEST(YearlyRule, ListsTheChangesOfEveryYearInTheirOrder) {
  expect_transitions(
      "CET-1CEST,M3.5.0,M10.5.0/3", utc(2024, 3, 31, 1), utc(2025, 10, 26, 1),
      {{utc(2024, 10, 27, 1), 3600}, {utc(2025, 3, 30, 1), 7200}, {utc(2025, 10, 26, 1), 3600}});
  expect_transitions("AEST-10AEDT,M10.1.0,M4.1.0/3", utc(2024, 1, 1), utc(2024, 12, 31),
                     {{utc(2024, 4, 6, 16), 36'000}, {utc(2024, 10, 5, 16), 39'600}});
}

TEST(YearlyRule, ListsAChangeThatLiesInAnotherYearInGreenwich) {
  expect_transitions("AAA-14BBB-15,0/0,J100/0", utc(2024, 12, 1), utc(2024, 12, 31, 23),
                     {{utc(2024, 12, 31, 10), 54'000}});
  expect_transitions("AAA12BBB11,J100/0,J365/23", utc(2025, 1, 1), utc(2025, 1, 31),
                     {{utc(2025, 1, 1, 10), -43'200}});
}

TEST(YearlyRule, ListsYearByYearWhereTheYearsOverlap) {
  const char *const all_year = "AAA0BBB,0/0,J365/26";
  expect_transitions(all_year, utc(2024, 12, 1), utc(2025, 1, 31),
                     {{utc(2025, 1, 1, 1), 0}, {utc(2025, 1, 1), 3600}});
  expect_transitions(all_year, utc(2024, 12, 1), utc(2025, 1, 1, 0, 30), {{utc(2025, 1, 1), 3600}});
}

TEST(YearlyRule, WithoutSummerTime) {
  const auto rule = ZoneRules::spelled("<+0545>-5:45");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->offset_at(0), 20700);
  EXPECT_TRUE(transitions_of(*rule, 2030).empty());
}

TEST(YearlyRule, WithHoursBeyondTheDay) {
  // Greenland: the change comes on the Saturday before the last Sunday.
  const auto rule = ZoneRules::spelled("<-02>2<-01>,M3.5.0/-1,M10.5.0/0");
  ASSERT_TRUE(rule);
  EXPECT_EQ(transitions_of(*rule, 2025).front().time, utc(2025, 3, 30, 1));
  // Four days and two hours after the fourth Thursday.
  const auto late = ZoneRules::spelled("EET-2EEST,M3.4.4/98,M10.4.4/50");
  ASSERT_TRUE(late);
  EXPECT_EQ(transitions_of(*late, 2025).front().time, utc(2025, 3, 31, 0));
}

TEST(YearlyRule, WithSummerTimeOfItsOwnOffset) {
  const auto rule = ZoneRules::spelled("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->offset_at(utc(2030, 1, 1)), 39600);
  EXPECT_EQ(rule->offset_at(utc(2030, 7, 1)), 37800);
}

TEST(YearlyRule, WithIrelandsNegativeSummerTime) {
  const auto rule = ZoneRules::spelled("IST-1GMT0,M10.5.0,M3.5.0/1");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->offset_at(utc(2030, 1, 1)), 0);
  EXPECT_EQ(rule->offset_at(utc(2030, 7, 1)), 3600);
}

TEST(SpelledRules, MayHaveSummerAllYear) {
  const auto rule = ZoneRules::spelled("EST5EDT4,0/0,J365/25");
  ASSERT_TRUE(rule);
  for (const UnixTime time : {utc(2024, 1, 1, 4), utc(2024, 7, 1), utc(2025, 1, 1, 5)})
    EXPECT_EQ(rule->offset_at(time), -4 * 3600) << time;
}

TEST(YearlyRule, WithDaysOfTheYear) {
  const auto julian = ZoneRules::spelled("AAA0BBB,J60/0,J300/0");
  ASSERT_TRUE(julian);
  EXPECT_EQ(transitions_of(*julian, 2024).front().time, utc(2024, 3, 1));
  EXPECT_EQ(transitions_of(*julian, 2023).front().time, utc(2023, 3, 1));
  const auto zero_based = ZoneRules::spelled("AAA0BBB,59/0,300/1:30:15");
  ASSERT_TRUE(zero_based);
  EXPECT_EQ(transitions_of(*zero_based, 2024).front().time, utc(2024, 2, 29));
  EXPECT_EQ(transitions_of(*zero_based, 2023).front().time, utc(2023, 3, 1));
  EXPECT_EQ(transitions_of(*zero_based, 2023).back().time, utc(2023, 10, 28, 0, 30) + 15);
}

TEST(YearlyRule, RefusesWhatSpellsNone) {
  for (const char *text :
       {"", "A", "AB5", "ABC", "ABC5DEF,M3.2.0", "ABC5DEF,M13.2.0,M11.1.0",
        "ABC5DEF,M3.6.0,M11.1.0", "ABC5DEF,M3.2.7,M11.1.0", "ABC5DEF,J0,J1", "ABC5DEF,366,1",
        "ABC5DEF,M3.2.0,M11.1.0x", "<ABC5", "ABC500", "ABC5:60", "ABC99999999999999"})
    EXPECT_FALSE(ZoneRules::spelled(text)) << text;
}

} // namespace
