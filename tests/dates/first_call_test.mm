// Many threads ask for the kept calendar for the first time at once, and keep using it.

#import <veltro/NSDate+Veltro.h>
#import <veltro/NSDate+ZLT.h>

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

TEST(CurrentCalendar, IsOneForAllThreads) {
  constexpr int kThreads = 8;
  std::atomic<int> waiting{kThreads};
  std::array<NSCalendar *, kThreads> calendars{};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  [NSThread detachNewThreadSelector:@selector(class) toTarget:[NSObject class] withObject:nil];
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&, i] {
      [NSThread currentThread];
      @autoreleasepool {
        --waiting;
        while (waiting > 0)
          std::this_thread::yield();
        calendars.at(static_cast<std::size_t>(i)) = [NSDate veltro_currentCalendar];
        NSDate *date = [NSDate dateWithTimeIntervalSince1970:1e9 + i * 86400.0];
        for (int round = 0; round < 200; ++round) {
          @autoreleasepool {
            wrong += [date veltro_isEqualToDateIgnoringTime:date] ? 0 : 1;
            wrong += [date veltro_isSameWeekAsDate:[date veltro_dateByAddingDays:7]] ? 1 : 0;
            wrong += [date zlt_isEqualIgnoringTimeInSecond:date] ? 0 : 1;
          }
        }
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
  for (NSCalendar *calendar : calendars)
    EXPECT_EQ(calendar, [NSDate veltro_currentCalendar]);
}

} // namespace
