#import <BackBoardServices/BackBoardServices.h>
#import <UIKit/UIKit.h>

#include "support/idle_apps.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using veltro::test::eventually;
using veltro::test::IdleApp;

/// What an assertion's handler was told, and where.
struct Report {
  std::atomic<int> calls = 0;
  std::atomic<bool> acquired = false;
  std::atomic<bool> elsewhere = false;
};

BKSProcessAssertion *assertion_on(NSString *identifier, Report &report) {
  Report *const told = &report;
  const pthread_t here = pthread_self();
  return [[BKSProcessAssertion alloc] initWithBundleIdentifier:identifier
                                                         flags:15
                                                        reason:7
                                                          name:identifier
                                                   withHandler:^(BOOL acquired) {
                                                     told->acquired = acquired == YES;
                                                     told->elsewhere =
                                                         !pthread_equal(pthread_self(), here);
                                                     told->calls += 1;
                                                   }];
}

class ProcessAssertion : public testing::Test {
protected:
  ProcessAssertion() {
    [[UIApplication sharedApplication] launchApplicationWithIdentifier:@"org.example.idle"
                                                             suspended:YES];
  }

  /// Time enough for what must not happen.
  static void wait_a_little() { std::this_thread::sleep_for(std::chrono::milliseconds(700)); }

  IdleApp app_{"org.example.idle", "Idle"};
  Report report_;
};

TEST_F(ProcessAssertion, IsAcquiredLaterAndElsewhere) {
  BKSProcessAssertion *assertion = assertion_on(@"org.example.idle", report_);
  EXPECT_TRUE(eventually([&] { return report_.calls == 1; }));
  EXPECT_TRUE(report_.acquired);
  EXPECT_TRUE(report_.elsewhere);
  EXPECT_TRUE([assertion valid]);
  [assertion invalidate];
  EXPECT_FALSE([assertion valid]);
  [assertion release];
  EXPECT_EQ(report_.calls, 1);
}

TEST_F(ProcessAssertion, ContinuesAStoppedProcessSoon) {
  ASSERT_TRUE(app_.stop());
  const auto start = std::chrono::steady_clock::now();
  BKSProcessAssertion *assertion = assertion_on(@"org.example.idle", report_);
  EXPECT_TRUE(eventually([&] { return !app_.is_stopped(); }));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_TRUE(app_.keeps_counting());
  [assertion release];
}

TEST_F(ProcessAssertion, KeepsTheProcessRunning) {
  BKSProcessAssertion *assertion = assertion_on(@"org.example.idle", report_);
  ASSERT_TRUE(eventually([&] { return report_.calls == 1; }));
  for (int times = 0; times < 3; ++times) {
    ASSERT_TRUE(app_.send(SIGSTOP));
    EXPECT_TRUE(app_.keeps_counting());
  }
  [assertion release];
}

TEST_F(ProcessAssertion, KeepsAProcessRunningThatStartedLater) {
  BKSProcessAssertion *assertion = assertion_on(@"org.example.idle", report_);
  ASSERT_TRUE(eventually([&] { return report_.calls == 1; }));
  ASSERT_TRUE(app_.send(SIGKILL));
  ASSERT_TRUE(eventually([&] { return app_.processes().empty(); }));
  [[UIApplication sharedApplication] launchApplicationWithIdentifier:@"org.example.idle"
                                                           suspended:YES];
  ASSERT_TRUE(app_.send(SIGSTOP));
  EXPECT_TRUE(app_.keeps_counting());
  [assertion release];
}

TEST_F(ProcessAssertion, LeavesAStoppedProcessStoppedWhereNoneIsHeld) {
  ASSERT_TRUE(app_.stop());
  wait_a_little();
  EXPECT_TRUE(app_.is_stopped());
}

TEST_F(ProcessAssertion, EndsWhenInvalidated) {
  BKSProcessAssertion *assertion = assertion_on(@"org.example.idle", report_);
  ASSERT_TRUE(eventually([&] { return report_.calls == 1; }));
  [assertion invalidate];
  ASSERT_TRUE(app_.stop());
  wait_a_little();
  EXPECT_TRUE(app_.is_stopped());
  [assertion invalidate];
  [assertion release];
}

TEST_F(ProcessAssertion, EndsWhenReleased) {
  BKSProcessAssertion *assertion = assertion_on(@"org.example.idle", report_);
  ASSERT_TRUE(eventually([&] { return report_.calls == 1; }));
  [assertion release];
  ASSERT_TRUE(app_.stop());
  wait_a_little();
  EXPECT_TRUE(app_.is_stopped());
}

TEST_F(ProcessAssertion, HoldsWhileAnyOfThemIsHeld) {
  BKSProcessAssertion *first = assertion_on(@"org.example.idle", report_);
  BKSProcessAssertion *second = assertion_on(@"org.example.idle", report_);
  ASSERT_TRUE(eventually([&] { return report_.calls == 2; }));
  [first release];
  ASSERT_TRUE(app_.send(SIGSTOP));
  EXPECT_TRUE(app_.keeps_counting());
  [second release];
}

TEST_F(ProcessAssertion, IsNotAcquiredWhereTheAppDoesNotRun) {
  veltro::test::lay_system_app("org.example.other", "Other");
  BKSProcessAssertion *assertion = assertion_on(@"org.example.other", report_);
  EXPECT_TRUE(eventually([&] { return report_.calls == 1; }));
  EXPECT_FALSE(report_.acquired);
  EXPECT_FALSE([assertion valid]);
  [assertion release];
}

TEST_F(ProcessAssertion, IsNotAcquiredForAnAppThatIsNotInstalled) {
  BKSProcessAssertion *unknown = assertion_on(@"org.example.unknown", report_);
  BKSProcessAssertion *none = assertion_on(nil, report_);
  EXPECT_TRUE(eventually([&] { return report_.calls == 2; }));
  EXPECT_FALSE(report_.acquired);
  [unknown release];
  [none release];
}

TEST_F(ProcessAssertion, AssertsNothingWithoutItsInitializer) {
  BKSProcessAssertion *assertion = [[BKSProcessAssertion alloc] init];
  EXPECT_FALSE([assertion valid]);
  [assertion invalidate];
  EXPECT_FALSE([assertion valid]);
  [assertion release];
}

TEST_F(ProcessAssertion, NeedsNoHandler) {
  BKSProcessAssertion *assertion =
      [[BKSProcessAssertion alloc] initWithBundleIdentifier:@"org.example.idle"
                                                      flags:15
                                                     reason:7
                                                       name:@"name"
                                                withHandler:nil];
  EXPECT_TRUE(eventually([&] { return [assertion valid] == YES; }));
  [assertion release];
}

TEST_F(ProcessAssertion, ReleasesTheHandlerOnceItWasCalled) {
  NSObject *object = [[NSObject alloc] init];
  BKSProcessAssertion *assertion =
      [[BKSProcessAssertion alloc] initWithBundleIdentifier:@"org.example.idle"
                                                      flags:15
                                                     reason:7
                                                       name:@"name"
                                                withHandler:^(BOOL /*acquired*/) {
                                                  [object self];
                                                }];
  EXPECT_TRUE(eventually([&] { return [object retainCount] == 1; }));
  [assertion release];
  [object release];
}

} // namespace
