// Which messages the date categories send to the platform, and with what: components of the add-on
// rely on the masks, on the kept calendar here and the fresh one there.

#include "dates/frozen_clock.hpp"

#import <veltro/NSDate+Veltro.h>
#import <veltro/NSDate+ZLT.h>

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using veltro::test::ReplacedMethod;

std::vector<std::string> messages;
std::vector<NSTimeInterval> dates; ///< given to calendars, in order
NSDateComponents *last_components = nil;
NSCalendar *last_fresh = nil;
NSCalendar *kept = nil;
bool range_succeeds = true;

/// Fills in what the recorded methods call on, so that each recorder stays one function.
struct Originals {
  NSCalendar *(*current)(Class, SEL) = nullptr;
  NSCalendar *(*autoupdating)(Class, SEL) = nullptr;
  NSDate *(*now)(Class, SEL) = nullptr;
  NSDate *(*date_at)(Class, SEL, NSTimeInterval) = nullptr;
  NSDateComponents *(*components)(NSCalendar *, SEL, NSUInteger, NSDate *) = nullptr;
  NSDate *(*date_from)(NSCalendar *, SEL, NSDateComponents *) = nullptr;
  NSDate *(*adding)(NSCalendar *, SEL, NSDateComponents *, NSDate *, NSUInteger) = nullptr;
  BOOL (*range)(NSCalendar *, SEL, NSCalendarUnit, NSDate **, NSTimeInterval *, NSDate *) = nullptr;
};
Originals original;

std::string receiver(NSCalendar *calendar) {
  if (calendar == last_fresh)
    return "fresh ";
  return calendar == kept ? "kept " : "other ";
}

std::string only_day(NSDateComponents *components) {
  const NSInteger rest[] = {[components era],    [components year],    [components month],
                            [components hour],   [components minute],  [components second],
                            [components week],   [components weekday], [components weekdayOrdinal],
                            [components quarter]};
  for (const NSInteger component : rest)
    if (component != NSDateComponentUndefined)
      return "more than a day";
  return std::to_string([components day]);
}

NSCalendar *current(Class self, SEL selector) {
  messages.emplace_back("currentCalendar");
  last_fresh = original.current(self, selector);
  return last_fresh;
}

NSCalendar *autoupdating(Class self, SEL selector) {
  messages.emplace_back("autoupdatingCurrentCalendar");
  return original.autoupdating(self, selector);
}

NSDate *now(Class self, SEL selector) {
  messages.emplace_back("date");
  return original.now(self, selector);
}

NSDate *date_at(Class self, SEL selector, NSTimeInterval seconds) {
  messages.push_back("dateWithTimeIntervalSinceReferenceDate " + std::to_string(seconds));
  return original.date_at(self, selector, seconds);
}

NSDateComponents *components(NSCalendar *self, SEL selector, NSUInteger units, NSDate *date) {
  messages.push_back(receiver(self) + "components " + std::to_string(units));
  dates.push_back([date timeIntervalSinceReferenceDate]);
  return last_components = original.components(self, selector, units, date);
}

NSDate *date_from(NSCalendar *self, SEL selector, NSDateComponents *from) {
  messages.push_back(receiver(self) + "dateFromComponents" +
                     (from == last_components ? "" : " of others"));
  return original.date_from(self, selector, from);
}

NSDate *adding(NSCalendar *self, SEL selector, NSDateComponents *days, NSDate *date,
               NSUInteger options) {
  messages.push_back(receiver(self) + "add " + only_day(days) + " options " +
                     std::to_string(options));
  dates.push_back([date timeIntervalSinceReferenceDate]);
  return original.adding(self, selector, days, date, options);
}

BOOL range(NSCalendar *self, SEL selector, NSCalendarUnit unit, NSDate **start,
           NSTimeInterval *interval, NSDate *date) {
  messages.push_back(receiver(self) + "range " + std::to_string(unit) +
                     (*start == nil ? " from nil" : " from a date") +
                     (interval == nullptr ? " without interval" : " with interval"));
  dates.push_back([date timeIntervalSinceReferenceDate]);
  return range_succeeds ? original.range(self, selector, unit, start, interval, date) : NO;
}

/// Records every message from here to the end of the test.
class Messages : public testing::Test {
protected:
  Messages() {
    original = {current_.original(), autoupdating_.original(), now_.original(),
                date_at_.original(), components_.original(),   date_from_.original(),
                adding_.original(),  range_.original()};
    kept = [NSDate veltro_currentCalendar];
    messages.clear();
    dates.clear();
    range_succeeds = true;
  }

  NSDate *date_ = [[NSDate alloc] initWithTimeIntervalSinceReferenceDate:1234.5];
  ~Messages() override {
    last_fresh = nil;
    [date_ release];
  }

private:
  static constexpr auto meta = [](Class owner) { return object_getClass(owner); };
  Class calendar_ = [NSCalendar class];
  veltro::test::FrozenClock clock_{1'400'000'000};
  ReplacedMethod<decltype(&current)> current_ {
    meta(calendar_), @selector(currentCalendar), &current
  };
  ReplacedMethod<decltype(&autoupdating)> autoupdating_ {
    meta(calendar_), @selector(autoupdatingCurrentCalendar), &autoupdating
  };
  ReplacedMethod<decltype(&now)> now_ { meta([NSDate class]), @selector(date), &now };
  ReplacedMethod<decltype(&date_at)> date_at_ {
    meta([NSDate class]), @selector(dateWithTimeIntervalSinceReferenceDate:), &date_at
  };
  ReplacedMethod<decltype(&components)> components_ {
    calendar_, @selector(components:fromDate:), &components
  };
  ReplacedMethod<decltype(&date_from)> date_from_ {
    calendar_, @selector(dateFromComponents:), &date_from
  };
  ReplacedMethod<decltype(&adding)> adding_ {
    calendar_, @selector(dateByAddingComponents:toDate:options:), &adding
  };
  ReplacedMethod<decltype(&range)> range_ {
    calendar_, @selector(rangeOfUnit:startDate:interval:forDate:), &range
  };
};

/// Those that go to a calendar; dates that the platform makes inside are its own business.
std::vector<std::string> to_calendars() {
  std::vector<std::string> found;
  for (const std::string &message : messages)
    if (!message.starts_with("date"))
      found.push_back(message);
  return found;
}

TEST(CurrentCalendar, IsTakenOnceAndKept) {
  original.autoupdating = nullptr;
  messages.clear();
  const ReplacedMethod<decltype(&autoupdating)> replaced(
      object_getClass([NSCalendar class]), @selector(autoupdatingCurrentCalendar), &autoupdating);
  original.autoupdating = replaced.original();
  NSCalendar *calendar = [NSDate veltro_currentCalendar];
  ASSERT_NE(calendar, nil);
  const std::size_t taken = messages.size();
  EXPECT_LE(taken, 1U); // 0 where another test of this process came first
  EXPECT_EQ([NSDate veltro_currentCalendar], calendar);
  [[NSDate date] veltro_isToday];
  EXPECT_EQ(messages.size(), taken);
}

TEST_F(Messages, ComparingDaysTakesBothApartWithTheKeptCalendar) {
  [date_ veltro_isEqualToDateIgnoringTime:[NSDate distantPast]];
  EXPECT_THAT(to_calendars(), ElementsAre("kept components 2044", "kept components 2044"));
}

TEST_F(Messages, ComparingWeeksTakesBothApartWithTheKeptCalendar) {
  [date_ veltro_isSameWeekAsDate:[NSDate distantPast]];
  EXPECT_THAT(to_calendars(), ElementsAre("kept components 2044", "kept components 2044"));
}

TEST_F(Messages, TheReceiverComesFirst) {
  const NSTimeInterval other = [[NSDate distantPast] timeIntervalSinceReferenceDate];
  [date_ veltro_isEqualToDateIgnoringTime:[NSDate distantPast]];
  EXPECT_THAT(dates, ElementsAre(1234.5, other));
  dates.clear();
  [date_ veltro_isSameWeekAsDate:[NSDate distantPast]];
  EXPECT_THAT(dates, ElementsAre(1234.5, other));
  dates.clear();
  [date_ zlt_isEqualIgnoringTimeInSecond:[NSDate distantPast]];
  EXPECT_THAT(dates, ElementsAre(1234.5, other));
}

int times_fetched = 0;
NSCalendar *fetched(Class /*self*/, SEL /*selector*/) {
  ++times_fetched;
  return [NSCalendar autoupdatingCurrentCalendar];
}

TEST_F(Messages, TheKeptCalendarIsFetchedForEachOfTwoDates) {
  const ReplacedMethod<decltype(&fetched)> replaced(object_getClass([NSDate class]),
                                                    @selector(veltro_currentCalendar), &fetched);
  times_fetched = 0;
  [date_ veltro_isEqualToDateIgnoringTime:date_];
  EXPECT_EQ(times_fetched, 2);
  [date_ veltro_isSameWeekAsDate:date_];
  EXPECT_EQ(times_fetched, 4);
}

TEST_F(Messages, TodayAsksForNowOnce) {
  [date_ veltro_isToday];
  EXPECT_EQ(messages.front(), "date");
  EXPECT_EQ(std::ranges::count(messages, "date"), 1);
  EXPECT_THAT(to_calendars(), ElementsAre("kept components 2044", "kept components 2044"));
}

TEST_F(Messages, YesterdayStepsBackOneDayWithAFreshCalendar) {
  [date_ veltro_isYesterday];
  EXPECT_EQ(messages.front(), "date");
  EXPECT_THAT(to_calendars(), ElementsAre("currentCalendar", "fresh add -1 options 0",
                                          "kept components 2044", "kept components 2044"));
}

TEST_F(Messages, AddingDaysSetsNothingButTheDay) {
  [date_ veltro_dateByAddingDays:12];
  EXPECT_THAT(to_calendars(), ElementsAre("currentCalendar", "fresh add 12 options 0"));
  EXPECT_THAT(dates, ElementsAre(1234.5));
}

TEST_F(Messages, AddingDaysTakesAFreshCalendarEachTime) {
  [date_ veltro_dateByAddingDays:1];
  [date_ veltro_dateBySubtractingDays:1];
  EXPECT_THAT(to_calendars(), ElementsAre("currentCalendar", "fresh add 1 options 0",
                                          "currentCalendar", "fresh add -1 options 0"));
}

TEST_F(Messages, SubtractingTheSmallestNumberAddsItAsItStands) {
  [date_ veltro_dateBySubtractingDays:NSIntegerMin];
  EXPECT_THAT(
      to_calendars(),
      ElementsAre("currentCalendar", "fresh add " + std::to_string(NSIntegerMin) + " options 0"));
}

TEST_F(Messages, DaysBeforeNowAreSubtractedFromNow) {
  [NSDate veltro_dateWithDaysBeforeNow:3];
  EXPECT_EQ(messages.front(), "date");
  EXPECT_THAT(to_calendars(), ElementsAre("currentCalendar", "fresh add -3 options 0"));
}

NSDate *marked() {
  return [NSDate distantFuture];
}
NSInteger given_days = 0;
NSDate *given_date = nil;
NSDate *marked_before_now(Class /*self*/, SEL /*selector*/, NSInteger days) {
  given_days = days;
  return marked();
}
NSDate *marked_subtraction(NSDate *self, SEL /*selector*/, NSInteger days) {
  given_date = self;
  given_days = days;
  return marked();
}

TEST_F(Messages, YesterdayIsAskedForAsOneDayBeforeNow) {
  const ReplacedMethod<decltype(&marked_before_now)> replaced(
      object_getClass([NSDate class]), @selector(veltro_dateWithDaysBeforeNow:),
      &marked_before_now);
  EXPECT_EQ([NSDate veltro_dateYesterday], marked());
  EXPECT_EQ(given_days, 1);
}

TEST_F(Messages, DaysBeforeNowAreAskedOfNow) {
  const ReplacedMethod<decltype(&marked_subtraction)> replaced(
      [NSDate class], @selector(veltro_dateBySubtractingDays:), &marked_subtraction);
  EXPECT_EQ([NSDate veltro_dateWithDaysBeforeNow:3], marked());
  EXPECT_EQ(given_days, 3);
  EXPECT_EQ([given_date timeIntervalSince1970], 1'400'000'000);
}

TEST_F(Messages, LastWeekIsCountedInSeconds) {
  [date_ veltro_isLastWeek];
  EXPECT_EQ(messages.front(), "date");
  const double week_ago = 1'400'000'000.0 - 978'307'200 - 604'800;
  EXPECT_THAT(messages, testing::Contains("dateWithTimeIntervalSinceReferenceDate " +
                                          std::to_string(week_ago)));
  EXPECT_THAT(to_calendars(), ElementsAre("kept components 2044", "kept components 2044"));
}

TEST_F(Messages, DaysBeforeTodayAreCountedFromTheStartOfTodayWithTwoFreshCalendars) {
  [date_ veltro__occuredDaysBeforeToday:5];
  EXPECT_EQ(messages.front(), "date");
  EXPECT_THAT(to_calendars(),
              ElementsAre("currentCalendar", "fresh range 16 from nil without interval",
                          "currentCalendar", "fresh add -5 options 0"));
  NSDate *start = nil;
  original.range([NSCalendar currentCalendar], @selector(rangeOfUnit:startDate:interval:forDate:),
                 NSCalendarUnitDay, &start, nullptr, [NSDate date]);
  EXPECT_THAT(dates,
              ElementsAre(1'400'000'000 - 978'307'200, [start timeIntervalSinceReferenceDate]));
}

TEST_F(Messages, TheLast7DaysAreSevenDaysBeforeToday) {
  [date_ veltro_dayOccuredDuringLast7Days];
  EXPECT_THAT(to_calendars(),
              ElementsAre("currentCalendar", "fresh range 16 from nil without interval",
                          "currentCalendar", "fresh add -7 options 0"));
}

TEST_F(Messages, WithoutAStartOfTodayTheResultIsNo) {
  range_succeeds = false;
  EXPECT_FALSE([[NSDate distantPast] veltro__occuredDaysBeforeToday:5]);
  EXPECT_FALSE([[NSDate distantFuture] veltro__occuredDaysBeforeToday:5]);
  EXPECT_FALSE([[NSDate dateWithTimeIntervalSince1970:1'400'000'000 - 86400 * 2.0]
      veltro__occuredDaysBeforeToday:5]);
}

TEST_F(Messages, NormalizingUsesOneFreshCalendarForBothSteps) {
  [date_ zlt_normalizedDateWithDate];
  EXPECT_THAT(to_calendars(),
              ElementsAre("currentCalendar", "fresh components 124", "fresh dateFromComponents"));
}

TEST_F(Messages, ComparingMinutesNormalizesBothWithACalendarEach) {
  [date_ zlt_isEqualIgnoringTimeInSecond:[NSDate distantPast]];
  EXPECT_THAT(to_calendars(),
              ElementsAre("currentCalendar", "fresh components 124", "fresh dateFromComponents",
                          "currentCalendar", "fresh components 124", "fresh dateFromComponents"));
}

std::vector<NSTimeInterval> compared; ///< the dates that the receiver was compared with
NSComparisonResult never_later(NSDate * /*self*/, SEL /*selector*/, NSDate *other) {
  compared.push_back([other timeIntervalSinceReferenceDate]);
  return NSOrderedAscending;
}
NSComparisonResult always_later(NSDate * /*self*/, SEL /*selector*/, NSDate *other) {
  compared.push_back([other timeIntervalSinceReferenceDate]);
  return NSOrderedDescending;
}

TEST_F(Messages, TheSecondComparisonIsMadeOnlyWhenTheFirstHolds) {
  compared.clear();
  {
    const ReplacedMethod<decltype(&never_later)> replaced([date_ class], @selector(compare:),
                                                          &never_later);
    EXPECT_FALSE([date_ veltro__occuredDaysBeforeToday:5]);
  }
  EXPECT_EQ(compared.size(), 1U);
  compared.clear();
  {
    const ReplacedMethod<decltype(&always_later)> replaced([date_ class], @selector(compare:),
                                                           &always_later);
    EXPECT_FALSE([date_ veltro__occuredDaysBeforeToday:5]);
  }
  ASSERT_EQ(compared.size(), 2U);
  EXPECT_EQ(compared[1], dates.back()) << "the start of today";
  EXPECT_EQ(compared[0], compared[1] - 5 * 86400.0) << "five days before";
}

int weeks_read = 0;
NSInteger older_week(NSDateComponents * /*self*/, SEL /*selector*/) {
  return ++weeks_read;
}

TEST_F(Messages, TheWeekIsReadThroughTheOlderUnit) {
  const ReplacedMethod<decltype(&older_week)> replaced([NSDateComponents class], @selector(week),
                                                       &older_week);
  weeks_read = 0;
  EXPECT_FALSE([date_ veltro_isSameWeekAsDate:date_]);
  EXPECT_EQ(weeks_read, 2);
}

NSTimeInterval distance = 0;
NSTimeInterval given_distance(NSDate * /*self*/, SEL /*selector*/, NSDate * /*other*/) {
  return distance;
}

TEST_F(Messages, AWeekIsLessThanSevenDaysEitherWay) {
  const ReplacedMethod<decltype(&given_distance)> replaced(
      [date_ class], @selector(timeIntervalSinceDate:), &given_distance);
  distance = 604'799.999;
  EXPECT_TRUE([date_ veltro_isSameWeekAsDate:date_]);
  distance = -604'799.999;
  EXPECT_TRUE([date_ veltro_isSameWeekAsDate:date_]);
  distance = 604'800;
  EXPECT_FALSE([date_ veltro_isSameWeekAsDate:date_]);
  distance = -604'800;
  EXPECT_FALSE([date_ veltro_isSameWeekAsDate:date_]);
}

} // namespace
