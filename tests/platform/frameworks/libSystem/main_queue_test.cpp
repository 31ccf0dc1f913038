#include "frameworks/libSystem/main_queue.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <thread>
#include <vector>

namespace veltro::host {
namespace {

constexpr std::uint64_t kHour = 3'600'000'000'000;

bool readable(const MainQueue &queue, int milliseconds) {
  pollfd descriptor{.fd = queue.descriptor(), .events = POLLIN, .revents = 0};
  return poll(&descriptor, 1, milliseconds) == 1;
}

TEST(MainQueue, IsReadableWhileSomethingIsDue) {
  MainQueue queue;
  EXPECT_FALSE(readable(queue, 0));
  queue.add([] {});
  EXPECT_TRUE(readable(queue, 10'000));
  queue.drain();
  EXPECT_FALSE(readable(queue, 0));
}

TEST(MainQueue, WakesAtTheTimeOfTheEarliest) {
  MainQueue queue;
  const std::uint64_t start = dispatch_clock();
  queue.add(start + kHour, [] {});
  EXPECT_FALSE(readable(queue, 0));
  queue.add(start + 20'000'000, [] {});
  EXPECT_TRUE(readable(queue, 10'000));
  EXPECT_GE(dispatch_clock(), start + 20'000'000);
  queue.drain();
  EXPECT_FALSE(readable(queue, 0));
}

TEST(MainQueue, RunsInTheOrderOfDueTimeAndThenOfAdding) {
  std::optional<MainQueue> queue;
  std::vector<int> order;
  std::uint64_t soon = 0;
  do { // again where that time came before all was added
    queue.emplace();
    soon = dispatch_clock() + 20'000'000;
    queue->add(soon + 1, [&] { order.push_back(4); });
    queue->add(soon, [&] { order.push_back(3); });
    queue->add([&] { order.push_back(0); });
    queue->add(1, [&] { order.push_back(1); });
    queue->add([&] { order.push_back(2); });
  } while (dispatch_clock() >= soon);
  while (dispatch_clock() <= soon + 1)
    std::this_thread::yield();
  queue->drain();
  EXPECT_EQ(order, (std::vector{0, 1, 2, 3, 4}));
}

TEST(MainQueue, LeavesWhatIsAddedMeanwhileForTheNextTime) {
  MainQueue queue;
  int runs = 0;
  const MainQueue::Work again = [&] {
    runs += 1;
    queue.add(dispatch_clock() + 1, [&] { runs += 10; });
  };
  queue.add(again);
  EXPECT_TRUE(readable(queue, 10'000));
  queue.drain();
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(readable(queue, 10'000));
  queue.drain();
  EXPECT_EQ(runs, 11);
}

TEST(MainQueue, IsSerialThroughANestedDrain) {
  MainQueue queue;
  std::vector<int> order;
  queue.add([&] {
    queue.drain();
    order.push_back(1);
  });
  queue.add([&] { order.push_back(2); });
  EXPECT_TRUE(readable(queue, 10'000));
  queue.drain();
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(MainQueue, ContinuesAfterAnException) {
  MainQueue queue;
  int runs = 0;
  queue.add([] { throw 1; });
  queue.add([&] { runs += 1; });
  EXPECT_THROW(queue.drain(), int);
  EXPECT_TRUE(readable(queue, 10'000));
  queue.drain();
  EXPECT_EQ(runs, 1);
}

TEST(MainQueue, TakesWorkFromManyThreadsAtOnce) {
  MainQueue queue;
  constexpr int kEach = 500;
  std::vector<std::vector<int>> seen(4);
  std::size_t total = 0;
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < seen.size(); ++thread)
    threads.emplace_back([&queue, &seen, &total, thread] {
      for (int i = 0; i < kEach; ++i)
        queue.add([&seen, &total, thread, i] {
          seen[thread].push_back(i);
          total += 1;
        });
    });
  while (total < seen.size() * kEach) {
    ASSERT_TRUE(readable(queue, 10'000));
    queue.drain();
  }
  for (std::thread &thread : threads)
    thread.join();
  for (const std::vector<int> &of_one : seen) {
    ASSERT_EQ(of_one.size(), static_cast<std::size_t>(kEach));
    EXPECT_TRUE(std::ranges::is_sorted(of_one));
  }
}

} // namespace
} // namespace veltro::host
