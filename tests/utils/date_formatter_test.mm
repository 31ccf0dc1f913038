#import <veltro/ZLTUtils+Apps.h>

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

TEST(DateFormatter, IsOneObjectForAllThreads) {
  std::vector<NSDateFormatter *> seen(8);
  std::vector<std::thread> threads;
  for (NSDateFormatter *&one : seen)
    threads.emplace_back([&one] {
      @autoreleasepool {
        one = [ZLTUtils dateFormatter];
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  for (NSDateFormatter *one : seen)
    EXPECT_EQ(one, [ZLTUtils dateFormatter]);
  EXPECT_TRUE([seen.front() isKindOfClass:[NSDateFormatter class]]);
}

TEST(DateFormatter, OutlivesAutoreleasePools) {
  NSDateFormatter *first;
  @autoreleasepool {
    first = [ZLTUtils dateFormatter];
  }
  EXPECT_EQ([ZLTUtils dateFormatter], first);
  EXPECT_GE([first retainCount], 1U);
}

TEST(DateFormatter, IsLeftAsTheSystemMakesIt) {
  NSDateFormatter *fresh = [[[NSDateFormatter alloc] init] autorelease];
  NSDateFormatter *shared = [ZLTUtils dateFormatter];
  EXPECT_EQ([shared dateStyle], [fresh dateStyle]);
  EXPECT_EQ([shared timeStyle], [fresh timeStyle]);
  EXPECT_TRUE([[shared locale] isEqual:[fresh locale]]);
  EXPECT_TRUE([[shared timeZone] isEqual:[fresh timeZone]]);
  EXPECT_TRUE([shared dateFormat] == [fresh dateFormat] ||
              [[shared dateFormat] isEqual:[fresh dateFormat]]);
}

} // namespace
