#include <dispatch/dispatch.h>

#import <Foundation/Foundation.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

std::uint64_t monotonic_now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * NSEC_PER_SEC +
         static_cast<std::uint64_t>(now.tv_nsec);
}

/// Runs the main run loop in `mode` until `happened` or, as a failure, for half a minute.
bool run_until(const std::function<bool()> &happened, NSString *mode = NSDefaultRunLoopMode) {
  NSDate *limit = [NSDate dateWithTimeIntervalSinceNow:30];
  while (!happened() && [limit timeIntervalSinceNow] > 0) {
    @autoreleasepool {
      [[NSRunLoop currentRunLoop] runMode:mode beforeDate:limit];
    }
  }
  return happened();
}

TEST(DispatchTime, CountsNanosecondsFromNow) {
  const std::uint64_t before = monotonic_now();
  const dispatch_time_t due = dispatch_time(DISPATCH_TIME_NOW, 100'000'000);
  const std::uint64_t after = monotonic_now();
  EXPECT_GE(due, before + 100'000'000);
  EXPECT_LE(due, after + 100'000'000);
}

TEST(DispatchTime, CountsFromAnEarlierResult) {
  const dispatch_time_t when = dispatch_time(DISPATCH_TIME_NOW, 0);
  EXPECT_EQ(dispatch_time(when, 5), when + 5);
  EXPECT_EQ(dispatch_time(when, -5), when - 5);
}

TEST(DispatchTime, StaysWithinItsRange) {
  EXPECT_EQ(dispatch_time(DISPATCH_TIME_FOREVER, -1), DISPATCH_TIME_FOREVER);
  EXPECT_EQ(dispatch_time(DISPATCH_TIME_NOW, INT64_MAX), DISPATCH_TIME_FOREVER);
  EXPECT_EQ(dispatch_time(5, -10), 1U);
}

TEST(DispatchOnce, RunsOnceHoweverManyAsk) {
  static dispatch_once_t once;
  static std::atomic<int> runs;
  static std::atomic<int> too_early;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([] {
      dispatch_once(&once, ^{
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        runs += 1;
      });
      if (runs != 1)
        too_early += 1;
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(too_early, 0);
  EXPECT_EQ(once, ~dispatch_once_t{0});
}

TEST(MainQueue, RunsBlocksInOrderOnTheMainThread) {
  auto *const order = new std::vector<int>;
  auto *const elsewhere = new int(0);
  for (int i = 0; i < 100; ++i)
    dispatch_async(dispatch_get_main_queue(), ^{
      order->push_back(i);
      *elsewhere += [NSThread isMainThread] ? 0 : 1;
    });
  EXPECT_TRUE(order->empty());
  EXPECT_TRUE(run_until([&] { return order->size() == 100; }));
  EXPECT_TRUE(std::ranges::is_sorted(*order));
  EXPECT_EQ(*elsewhere, 0);
  delete order;
  delete elsewhere;
}

TEST(MainQueue, WakesARunLoopThatIsWaiting) {
  bool ran = false;
  bool *const flag = &ran;
  std::thread other([flag] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    dispatch_async(dispatch_get_main_queue(), ^{
      *flag = true;
    });
  });
  const std::uint64_t start = monotonic_now();
  EXPECT_TRUE(run_until([&] { return ran; }));
  EXPECT_LT(monotonic_now() - start, 10 * NSEC_PER_SEC);
  other.join();
}

TEST(MainQueue, RunsInTheCommonModes) {
  for (NSString *mode : {NSRunLoopCommonModes, @"UITrackingRunLoopMode"}) {
    bool ran = false;
    bool *const flag = &ran;
    dispatch_async(dispatch_get_main_queue(), ^{
      *flag = true;
    });
    EXPECT_TRUE(run_until([&] { return ran; }, mode)) << [mode UTF8String];
  }
}

TEST(MainQueue, IsServedAlsoWhenTheRunLoopStartsLater) {
  bool ran = false;
  bool *const flag = &ran;
  std::thread([flag] {
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 1'000'000), dispatch_get_main_queue(), ^{
      *flag = true;
    });
  }).join();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(ran);
  EXPECT_TRUE(run_until([&] { return ran; }));
}

TEST(MainQueue, DoesNotRunABlockWithinAnother) {
  auto *const order = new std::vector<int>;
  dispatch_async(dispatch_get_main_queue(), ^{
    [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:0.05]];
    order->push_back(1);
  });
  dispatch_async(dispatch_get_main_queue(), ^{
    order->push_back(2);
  });
  EXPECT_TRUE(run_until([&] { return order->size() == 2; }));
  EXPECT_EQ(*order, (std::vector{1, 2}));
  delete order;
}

TEST(MainQueue, HasAnAutoreleasePoolAroundEachBlock) {
  NSObject *object = [[NSObject alloc] init];
  const NSUInteger count = [object retainCount];
  bool ran = false;
  bool *const flag = &ran;
  dispatch_async(dispatch_get_main_queue(), ^{
    [[object retain] autorelease];
    *flag = true;
  });
  EXPECT_TRUE(run_until([&] { return ran; }));
  EXPECT_EQ([object retainCount], count);
  [object release];
}

TEST(DispatchAfter, WaitsAndKeepsWhatTheBlockCaptured) {
  auto *const heard = new std::string;
  auto *const at = new std::uint64_t(0);
  const std::uint64_t start = monotonic_now();
  @autoreleasepool {
    NSString *text = [NSString stringWithFormat:@"%s-%d", "kept", 7];
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 50'000'000), dispatch_get_main_queue(), ^{
      *heard = [text UTF8String];
      *at = monotonic_now();
    });
  }
  EXPECT_TRUE(run_until([&] { return *at != 0; }));
  EXPECT_EQ(*heard, "kept-7");
  EXPECT_GE(*at - start, 50'000'000U);
  delete heard;
  delete at;
}

TEST(DispatchAfter, ReleasesTheBlockOnceItHasRun) {
  NSObject *object = [[NSObject alloc] init];
  bool ran = false;
  bool *const flag = &ran;
  dispatch_after(DISPATCH_TIME_NOW, dispatch_get_main_queue(), ^{
    [object self];
    *flag = true;
  });
  EXPECT_EQ([object retainCount], 2U);
  EXPECT_TRUE(run_until([&] { return ran; }));
  EXPECT_EQ([object retainCount], 1U);
  [object release];
}

TEST(DispatchAfter, NeverRunsForEver) {
  NSObject *object = [[NSObject alloc] init];
  dispatch_after(DISPATCH_TIME_FOREVER, dispatch_get_main_queue(), ^{
    [object self];
  });
  EXPECT_EQ([object retainCount], 1U);
  [object release];
}

TEST(DispatchSync, ReturnsWhenTheMainThreadHasRunTheBlock) {
  std::atomic<int> state = 0;
  std::atomic<int> *const at = &state;
  std::thread other([at] {
    dispatch_sync(dispatch_get_main_queue(), ^{
      if ([NSThread isMainThread])
        *at = 1;
    });
    if (*at == 1)
      *at = 2;
  });
  EXPECT_TRUE(run_until([&] { return state >= 1; }));
  other.join();
  EXPECT_EQ(state, 2);
}

TEST(DispatchSyncDeathTest, EndsTheProcessThatWouldWaitForItself) {
  EXPECT_DEATH(dispatch_sync(dispatch_get_main_queue(),
                             ^{
                               std::fprintf(stderr, "ran\n");
                             }),
               "BUG IN CLIENT OF LIBDISPATCH: dispatch_sync called on queue already owned");
}

TEST(DispatchDeathTest, HasNoQueueButTheMainOne) {
  EXPECT_DEATH(dispatch_async(nullptr,
                              ^{
                              }),
               "BUG IN CLIENT");
}

} // namespace
