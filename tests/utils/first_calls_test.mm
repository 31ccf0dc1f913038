// Many threads send their first messages at once, in a process that has sent few before: classes
// are initialized, and the objects that all share are made, by whoever comes first.

#import <veltro/veltro.h>

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

TEST(FirstCalls, OfManyThreadsDoNotWaitForEachOther) {
  // Where they did, this would end the program.
  alarm(60);
  bool (*const calls[])() = {
      [] {
        [ZLTUtils vibrateDevice];
        return true;
      },
      [] { return [[ZLTUtils localizedLabelFromUIKit:@"Done"] isEqual:@"Done"] == YES; },
      [] { return [[NSDate dateWithTimeIntervalSince1970:0] veltro_isYesterday] == NO; },
      [] { return [ZLTUtils applicationInstalledDirectory:@"com.example.none"] == nil; },
      [] { return [ZLTUtils dateFormatter] != nil; },
      [] { return [ZLTUtils couriaLocalizedString:@"of no table"] == nil; },
  };
  constexpr std::size_t kThreads = 12;
  std::atomic<std::size_t> waiting{kThreads};
  std::atomic<std::size_t> right{0};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (std::size_t i = 0; i < kThreads; ++i)
    threads.emplace_back([&, call = calls[i % std::size(calls)]] {
      --waiting;
      while (waiting > 0)
        std::this_thread::yield();
      @autoreleasepool {
        right += call() ? 1 : 0;
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(right, kThreads);
  alarm(0);
}

} // namespace
