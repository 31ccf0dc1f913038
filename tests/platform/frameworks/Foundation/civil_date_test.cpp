#include "frameworks/Foundation/civil_date.hpp"

#include <gtest/gtest.h>

namespace veltro::host {

bool operator==(const WeekNumbers &left, const WeekNumbers &right) {
  return left.of_year == right.of_year && left.of_month == right.of_month &&
         left.year == right.year;
}

} // namespace veltro::host

namespace {

using namespace veltro::host;

TEST(CivilDate, CountsFrom1970) {
  EXPECT_EQ(civil_from_days(0), (CivilDate{1970, 1, 1}));
  EXPECT_EQ(civil_from_days(-1), (CivilDate{1969, 12, 31}));
  EXPECT_EQ(civil_from_days(11016), (CivilDate{2000, 2, 29}));
  EXPECT_EQ(civil_from_days(2932896), (CivilDate{9999, 12, 31}));
}

TEST(CivilDate, LeavesOutTenDaysOf1582) {
  EXPECT_EQ(civil_from_days(-141427), (CivilDate{1582, 10, 15}));
  EXPECT_EQ(civil_from_days(-141428), (CivilDate{1582, 10, 4}));
  EXPECT_EQ(days_from_civil(1582, 10, 4) + 1, days_from_civil(1582, 10, 15));
}

TEST(CivilDate, HasAJulianLeapDayIn1500AndNoGregorianIn1700) {
  EXPECT_EQ(days_from_civil(1500, 3, 1) - days_from_civil(1500, 2, 28), 2);
  EXPECT_EQ(days_from_civil(1700, 3, 1) - days_from_civil(1700, 2, 28), 1);
}

TEST(CivilDate, CountsYearsThroughBeforeChrist) {
  const std::int64_t first = days_from_civil(1, 1, 1);
  EXPECT_EQ(first, -719164);
  EXPECT_EQ(civil_from_days(first - 1), (CivilDate{0, 12, 31}));
  EXPECT_EQ(civil_from_days(days_from_civil(-44, 3, 15)), (CivilDate{-44, 3, 15}));
}

TEST(CivilDate, EveryDayComesBack) {
  std::int64_t days = days_from_civil(-401, 1, 1);
  CivilDate before = civil_from_days(days - 1);
  for (; days < days_from_civil(2801, 1, 1); ++days) {
    const CivilDate date = civil_from_days(days);
    ASSERT_EQ(days_from_civil(date.year, date.month, date.day), days);
    const bool next_day = date.day == before.day + 1 || date.day == 1 || days == -141427;
    ASSERT_TRUE(next_day) << days;
    before = date;
  }
}

TEST(CivilDate, MonthsAndDaysCountOn) {
  EXPECT_EQ(days_from_civil(2023, 13, 1), days_from_civil(2024, 1, 1));
  EXPECT_EQ(days_from_civil(2023, 0, 1), days_from_civil(2022, 12, 1));
  EXPECT_EQ(days_from_civil(2023, -11, 1), days_from_civil(2022, 1, 1));
  EXPECT_EQ(days_from_civil(2023, 3, 0), days_from_civil(2023, 2, 28));
  EXPECT_EQ(days_from_civil(2023, 1, 366), days_from_civil(2024, 1, 1));
}

TEST(CivilDate, GoesFar) {
  for (const std::int64_t days : {-11'000'000'000, 11'000'000'000}) {
    const CivilDate date = civil_from_days(days);
    EXPECT_EQ(days_from_civil(date.year, date.month, date.day), days);
  }
}

TEST(CivilDate, KnowsWeekdays) {
  EXPECT_EQ(weekday_of(0), 5); // a Thursday
  EXPECT_EQ(weekday_of(-4), 1);
  EXPECT_EQ(weekday_of(-5), 7);
  EXPECT_EQ(weekday_of(days_from_civil(2024, 2, 29)), 5);
}

constexpr WeekRules kAmerican{1, 1};
constexpr WeekRules kIso{2, 4};

TEST(WeekNumbers, OfTheFirstDaysOfAYear) {
  // 1 January 2023 was a Sunday.
  const std::int64_t day = days_from_civil(2023, 1, 1);
  EXPECT_EQ(week_numbers(day, kAmerican), (WeekNumbers{1, 1, 2023}));
  EXPECT_EQ(week_numbers(day, kIso), (WeekNumbers{52, 0, 2022}));
  EXPECT_EQ(week_numbers(day + 1, kIso), (WeekNumbers{1, 1, 2023}));
  EXPECT_EQ(week_numbers(day + 7, kAmerican), (WeekNumbers{2, 2, 2023}));
}

TEST(WeekNumbers, OfTheLastDaysOfAYear) {
  // 31 December 2024 was a Tuesday.
  const std::int64_t day = days_from_civil(2024, 12, 31);
  EXPECT_EQ(week_numbers(day, kAmerican), (WeekNumbers{1, 5, 2025}));
  EXPECT_EQ(week_numbers(day, kIso), (WeekNumbers{1, 5, 2025}));
  EXPECT_EQ(week_numbers(day - 2, kIso), (WeekNumbers{52, 4, 2024}));
  EXPECT_EQ(week_numbers(day - 3, kAmerican), (WeekNumbers{52, 4, 2024}));
}

TEST(WeekNumbers, AYearMayHave53) {
  EXPECT_EQ(week_numbers(days_from_civil(2020, 12, 31), kIso), (WeekNumbers{53, 5, 2020}));
  EXPECT_EQ(week_numbers(days_from_civil(2021, 1, 3), kIso), (WeekNumbers{53, 0, 2020}));
}

TEST(WeekNumbers, ChangeOnceAWeekOnItsFirstDay) {
  for (const WeekRules rules :
       {kAmerican, kIso, WeekRules{7, 1}, WeekRules{2, 1}, WeekRules{1, 4}}) {
    WeekNumbers before = week_numbers(days_from_civil(1995, 12, 31), rules);
    for (std::int64_t day = days_from_civil(1996, 1, 1); day < days_from_civil(2030, 1, 1); ++day) {
      const WeekNumbers week = week_numbers(day, rules);
      const bool first = weekday_of(day) == rules.first_weekday;
      ASSERT_EQ(week.of_year != before.of_year || week.year != before.year, first) << day;
      if (week.of_year == 1 && first) {
        // The first week has at least the fewest days in the new year, the week before has not.
        const std::int64_t new_year = days_from_civil(week.year, 1, 1);
        ASSERT_GE(day + 7 - new_year, rules.minimum_days);
        ASSERT_LT(day - new_year, rules.minimum_days);
      } else if (first) {
        ASSERT_EQ(week.of_year, before.of_year + 1);
      }
      before = week;
    }
  }
}

} // namespace
