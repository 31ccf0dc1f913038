// Each date method against the bare messages to the platform that it has to send.

#import <veltro/veltro.h>

#include <benchmark/benchmark.h>
#include <cmath>

namespace {

constexpr NSUInteger kMinute = NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay |
                               NSCalendarUnitHour | NSCalendarUnitMinute;
constexpr NSUInteger kDayAndWeek = kMinute | NSCalendarUnitSecond | NSUInteger{NSWeekCalendarUnit} |
                                   NSCalendarUnitWeekday | NSCalendarUnitWeekdayOrdinal;

/// A pool of its own around every 16 runs, so that neither side gathers garbage.
template <typename Work> void run(benchmark::State &state, Work work) {
  @autoreleasepool {
    NSDate *date = [NSDate dateWithTimeIntervalSinceReferenceDate:700'000'000];
    NSDate *other = [NSDate dateWithTimeIntervalSinceReferenceDate:700'100'000];
    for (auto _ : state) {
      @autoreleasepool {
        for (int i = 0; i < 16; ++i)
          benchmark::DoNotOptimize(work(date, other));
      }
    }
  }
}

NSCalendar *kept() {
  static NSCalendar *const calendar = [[NSCalendar autoupdatingCurrentCalendar] retain];
  return calendar;
}

NSDate *add(NSInteger days, NSDate *date) {
  NSDateComponents *components = [[NSDateComponents alloc] init];
  [components setDay:days];
  NSDate *result = [[NSCalendar currentCalendar] dateByAddingComponents:components
                                                                 toDate:date
                                                                options:0];
  [components release];
  return result;
}

bool same_day(NSDate *date, NSDate *other) {
  NSDateComponents *first = [kept() components:kDayAndWeek fromDate:date];
  NSDateComponents *second = [kept() components:kDayAndWeek fromDate:other];
  return [first year] == [second year] && [first month] == [second month] &&
         [first day] == [second day];
}

bool same_week(NSDate *date, NSDate *other) {
  NSDateComponents *first = [kept() components:kDayAndWeek fromDate:date];
  NSDateComponents *second = [kept() components:kDayAndWeek fromDate:other];
  return [first week] == [second week] && std::fabs([date timeIntervalSinceDate:other]) < 604800;
}

NSDate *minute(NSDate *date) {
  NSCalendar *calendar = [NSCalendar currentCalendar];
  return [calendar dateFromComponents:[calendar components:kMinute fromDate:date]];
}

bool before_today(NSInteger days, NSDate *date) {
  NSDate *now = [NSDate date];
  NSDate *start = nil;
  [[NSCalendar currentCalendar] rangeOfUnit:NSCalendarUnitDay
                                  startDate:&start
                                   interval:nullptr
                                    forDate:now];
  return [date compare:add(-days, start)] == NSOrderedDescending &&
         [date compare:start] == NSOrderedAscending;
}

void same_day_veltro(benchmark::State &state) {
  run(state,
      [](NSDate *date, NSDate *other) { return [date veltro_isEqualToDateIgnoringTime:other]; });
}
void same_day_calendar(benchmark::State &state) {
  run(state, same_day);
}
void today_veltro(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return [date veltro_isToday]; });
}
void today_calendar(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return same_day(date, [NSDate date]); });
}
void yesterday_veltro(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return [date veltro_isYesterday]; });
}
void yesterday_calendar(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return same_day(date, add(-1, [NSDate date])); });
}
void same_week_veltro(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *other) { return [date veltro_isSameWeekAsDate:other]; });
}
void same_week_calendar(benchmark::State &state) {
  run(state, same_week);
}
void last_week_veltro(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return [date veltro_isLastWeek]; });
}
void last_week_calendar(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) {
    const double now = [[NSDate date] timeIntervalSinceReferenceDate];
    return same_week(date, [NSDate dateWithTimeIntervalSinceReferenceDate:now - 604800]);
  });
}
void add_days_veltro(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return [date veltro_dateByAddingDays:3]; });
}
void add_days_calendar(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return add(3, date); });
}
void days_before_now_veltro(benchmark::State &state) {
  run(state, [](NSDate *, NSDate *) { return [NSDate veltro_dateWithDaysBeforeNow:3]; });
}
void days_before_now_calendar(benchmark::State &state) {
  run(state, [](NSDate *, NSDate *) { return add(-3, [NSDate date]); });
}
void last_7_days_veltro(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return [date veltro_dayOccuredDuringLast7Days]; });
}
void last_7_days_calendar(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return before_today(7, date); });
}
void minute_veltro(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return [date zlt_normalizedDateWithDate]; });
}
void minute_calendar(benchmark::State &state) {
  run(state, [](NSDate *date, NSDate *) { return minute(date); });
}
void same_minute_veltro(benchmark::State &state) {
  run(state,
      [](NSDate *date, NSDate *other) { return [date zlt_isEqualIgnoringTimeInSecond:other]; });
}
void same_minute_calendar(benchmark::State &state) {
  run(state,
      [](NSDate *date, NSDate *other) { return [minute(date) isEqualToDate:minute(other)]; });
}

BENCHMARK(same_day_veltro)->Name("same_day/veltro");
BENCHMARK(same_day_calendar)->Name("same_day/calendar");
BENCHMARK(today_veltro)->Name("today/veltro");
BENCHMARK(today_calendar)->Name("today/calendar");
BENCHMARK(yesterday_veltro)->Name("yesterday/veltro");
BENCHMARK(yesterday_calendar)->Name("yesterday/calendar");
BENCHMARK(same_week_veltro)->Name("same_week/veltro");
BENCHMARK(same_week_calendar)->Name("same_week/calendar");
BENCHMARK(last_week_veltro)->Name("last_week/veltro");
BENCHMARK(last_week_calendar)->Name("last_week/calendar");
BENCHMARK(add_days_veltro)->Name("add_days/veltro");
BENCHMARK(add_days_calendar)->Name("add_days/calendar");
BENCHMARK(days_before_now_veltro)->Name("days_before_now/veltro");
BENCHMARK(days_before_now_calendar)->Name("days_before_now/calendar");
BENCHMARK(last_7_days_veltro)->Name("last_7_days/veltro");
BENCHMARK(last_7_days_calendar)->Name("last_7_days/calendar");
BENCHMARK(minute_veltro)->Name("minute/veltro");
BENCHMARK(minute_calendar)->Name("minute/calendar");
BENCHMARK(same_minute_veltro)->Name("same_minute/veltro");
BENCHMARK(same_minute_calendar)->Name("same_minute/calendar");

} // namespace

BENCHMARK_MAIN();
