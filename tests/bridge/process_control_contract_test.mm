// What the process control asks of the platform, word for word: the platform's results are the
// test's own.

#import <BackBoardServices/BackBoardServices.h>
#import <UIKit/UIKit.h>
#import <veltro/veltro.h>

#include "support/captured_log.hpp"

#include <Block.h>
#include <dispatch/dispatch.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using veltro::test::logged_lines;

std::vector<std::string> calls;
bool running;
std::vector<NSInteger> process_ids; ///< returned one after the other, then the last again
dispatch_block_t scheduled;
std::vector<std::uintptr_t> stack_depths;
void (^assertion_handler)(BOOL);
bool launch_raises;
bool raised_is_freed;
bool stops_while_dropped; ///< whether the assertion drops itself once more while it goes
std::size_t lines_when_scheduled;

void note(const std::string &call) {
  calls.push_back(call + ([NSThread isMainThread] ? "" : " elsewhere"));
}

std::string text(id object) {
  return object == nil ? "nil" : [[object description] UTF8String];
}

void note_depth() {
  stack_depths.push_back(reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)));
}

} // namespace

extern "C" {

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) {
  lines_when_scheduled = logged_lines().size();
  note("dispatch_time " + std::to_string(when) + ' ' + std::to_string(delta));
  return 4711;
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
  note("dispatch_after " + std::to_string(when) +
       (queue == dispatch_get_main_queue() ? " main" : " other"));
  scheduled = Block_copy(block);
}

void dispatch_sync(dispatch_queue_t queue, dispatch_block_t block) {
  note(std::string("dispatch_sync") + (queue == dispatch_get_main_queue() ? " main" : " other"));
  block();
}

} // extern "C"

@interface VTAssertion : NSObject
@end

@implementation VTAssertion
- (id)initWithBundleIdentifier:(NSString *)bundleIdentifier
                         flags:(unsigned int)flags
                        reason:(unsigned int)reason
                          name:(NSString *)name
                   withHandler:(void (^)(BOOL acquired))handler {
  note("init " + text(bundleIdentifier) + ' ' + std::to_string(flags) + ' ' +
       std::to_string(reason) + ' ' + text(name));
  assertion_handler = Block_copy(handler);
  return self;
}
- (void)invalidate {
  note("invalidate");
}
- (void)dealloc {
  note("dealloc after " + std::to_string(logged_lines().size()) + " lines");
  if (std::exchange(stops_while_dropped, false))
    [ZLTUtils stopProcessAssertion];
  [super dealloc];
}
@end

@interface VTRefusal : NSException
@end

@implementation VTRefusal
- (void)dealloc {
  raised_is_freed = true;
  [super dealloc];
}
@end

@interface VTResults : NSObject
@end

@implementation VTResults
+ (UIApplication *)sharedApplication {
  note("sharedApplication");
  static UIApplication *const application = [[UIApplication alloc] init];
  return application;
}
- (BOOL)launchApplicationWithIdentifier:(NSString *)identifier suspended:(BOOL)suspended {
  note("launch " + text(identifier) + (suspended == YES ? " YES" : " NO"));
  if (launch_raises)
    [[[[VTRefusal alloc] initWithName:@"VTRefusal" reason:nil userInfo:nil] autorelease] raise];
  return NO;
}
- (NSInteger)__zltGetPIDForProcess:(NSString *)name {
  note("pid " + text(name));
  note_depth();
  const NSInteger result = process_ids.front();
  if (process_ids.size() > 1)
    process_ids.erase(process_ids.begin());
  return result;
}
+ (BOOL)isWhatsAppRunning {
  note("isWhatsAppRunning");
  return running ? YES : NO;
}
@end

namespace {

void replace(Class theirs, SEL selector, Class ours) {
  method_setImplementation(class_getInstanceMethod(theirs, selector),
                           method_getImplementation(class_getInstanceMethod(ours, selector)));
}

class ProcessControlContract : public testing::Test {
protected:
  ProcessControlContract() {
    [[maybe_unused]] static const bool replaced = [] {
      const Class results = [VTResults class];
      replace([UIApplication class], @selector(launchApplicationWithIdentifier:suspended:),
              results);
      replace([UIDevice class], @selector(__zltGetPIDForProcess:), results);
      replace(object_getClass([UIApplication class]), @selector(sharedApplication),
              object_getClass(results));
      replace(object_getClass([ZLTUtils class]), @selector(isWhatsAppRunning),
              object_getClass(results));
      const Class assertion = [VTAssertion class];
      replace([BKSProcessAssertion class],
              @selector(initWithBundleIdentifier:flags:reason:name:withHandler:), assertion);
      replace([BKSProcessAssertion class], @selector(invalidate), assertion);
      replace([BKSProcessAssertion class], @selector(dealloc), assertion);
      return true;
    }();
    [ZLTUtils stopProcessAssertion];
    calls.clear();
    veltro::test::clear_log();
    stack_depths.clear();
    running = false;
    launch_raises = raised_is_freed = false;
    process_ids = {77};
  }
  ~ProcessControlContract() override {
    drop(scheduled);
    drop(assertion_handler);
    [ZLTUtils stopProcessAssertion];
    drop(assertion_handler);
  }

  template <typename Block> static void drop(Block &block) {
    Block_release(block);
    block = nullptr;
  }
};

constexpr const char *kTrying = "Trying to launch Whatsapp...";
constexpr const char *kStarted = "************** Assertion started for WhatsApp ***************";
constexpr const char *kDropped = "************** Assertion invlidated for WhatsApp ***************";
constexpr const char *kCreate = "init net.whatsapp.WhatsApp 15 7 net.whatsapp.WhatsApp";
constexpr const char *kLaunch = "launch net.whatsapp.WhatsApp YES";

TEST_F(ProcessControlContract, LaunchesAnyAppLater) {
  running = true;
  @autoreleasepool {
    [ZLTUtils launchApplication:[NSString stringWithFormat:@"org.example.%s", "other"]];
  }
  EXPECT_THAT(calls, ElementsAre("dispatch_time 0 100000000", "dispatch_after 4711 main"));
  EXPECT_THAT(logged_lines(), ElementsAre(kTrying));
  calls.clear();
  scheduled();
  EXPECT_THAT(calls, ElementsAre("sharedApplication", "launch org.example.other YES"));
  EXPECT_THAT(logged_lines(), ElementsAre(kTrying));
}

TEST_F(ProcessControlContract, LogsBeforeItSchedules) {
  [ZLTUtils launchApplication:@"org.example.other"];
  EXPECT_EQ(lines_when_scheduled, 1U);
}

TEST_F(ProcessControlContract, LaunchesTheMessagingAppUnlessItRuns) {
  running = true;
  [ZLTUtils launchWhatsApp];
  EXPECT_THAT(calls, ElementsAre("isWhatsAppRunning"));
  EXPECT_THAT(logged_lines(), IsEmpty());
  running = false;
  calls.clear();
  [ZLTUtils launchWhatsApp];
  EXPECT_THAT(calls, ElementsAre("isWhatsAppRunning", "dispatch_time 0 100000000",
                                 "dispatch_after 4711 main"));
  EXPECT_THAT(logged_lines(), ElementsAre(kTrying));
  scheduled();
  EXPECT_EQ(calls.back(), kLaunch);
}

TEST_F(ProcessControlContract, LaunchesInPlaceOnTheMainThread) {
  [ZLTUtils launchWhatsAppOnMainThread];
  EXPECT_THAT(calls, ElementsAre("isWhatsAppRunning", "sharedApplication", kLaunch));
  EXPECT_THAT(logged_lines(), IsEmpty());
}

TEST_F(ProcessControlContract, LaunchesThroughTheMainQueueFromElsewhere) {
  std::thread([] {
    @autoreleasepool {
      [ZLTUtils launchWhatsAppOnMainThread];
    }
  }).join();
  EXPECT_THAT(calls,
              ElementsAre("isWhatsAppRunning elsewhere", "dispatch_sync main elsewhere",
                          "sharedApplication elsewhere", std::string(kLaunch) + " elsewhere"));
  EXPECT_THAT(logged_lines(), IsEmpty());
}

TEST_F(ProcessControlContract, DoesNotLaunchOnTheMainThreadWhatRuns) {
  running = true;
  [ZLTUtils launchWhatsAppOnMainThread];
  EXPECT_THAT(calls, ElementsAre("isWhatsAppRunning"));
}

TEST_F(ProcessControlContract, HoldsAnAssertionOnTheRunningApp) {
  [ZLTUtils startProcessAssertion];
  EXPECT_THAT(calls, ElementsAre("pid WhatsApp", kCreate));
  EXPECT_THAT(logged_lines(), IsEmpty());
  assertion_handler(NO);
  assertion_handler(YES);
  EXPECT_THAT(logged_lines(), ElementsAre(kStarted, kStarted)) << "whatever the result";
}

TEST_F(ProcessControlContract, TriesAgainUntilThereIsAProcess) {
  process_ids = {0, -1, 0, 1};
  [ZLTUtils startProcessAssertion];
  EXPECT_THAT(calls,
              ElementsAre("pid WhatsApp", "isWhatsAppRunning", "sharedApplication", kLaunch, //
                          "pid WhatsApp", "isWhatsAppRunning", "sharedApplication", kLaunch, //
                          "pid WhatsApp", "isWhatsAppRunning", "sharedApplication", kLaunch, //
                          "pid WhatsApp", kCreate));
}

TEST_F(ProcessControlContract, DoesNotLaunchAgainWhatTheRunningCheckFinds) {
  running = true;
  process_ids = {0, 5};
  [ZLTUtils startProcessAssertion];
  EXPECT_THAT(calls, ElementsAre("pid WhatsApp", "isWhatsAppRunning", "pid WhatsApp", kCreate));
}

TEST_F(ProcessControlContract, TriesAgainWithoutDeepeningTheStack) {
  process_ids.assign(2000, 0);
  process_ids.push_back(1);
  [ZLTUtils startProcessAssertion];
  ASSERT_EQ(stack_depths.size(), 2001U);
  EXPECT_EQ(stack_depths.front(), stack_depths.back());
}

TEST_F(ProcessControlContract, LetsAnExceptionOfTheLaunchThroughAlive) {
  process_ids = {0};
  launch_raises = true;
  std::string caught;
  @autoreleasepool {
    @try {
      [ZLTUtils startProcessAssertion];
    } @catch (NSException *exception) {
      ASSERT_FALSE(raised_is_freed);
      caught = text([exception name]);
    }
  }
  EXPECT_EQ(caught, "VTRefusal");
  EXPECT_TRUE(raised_is_freed) << "with the caller's own pool";
}

TEST_F(ProcessControlContract, ReplacesAHeldAssertion) {
  [ZLTUtils startProcessAssertion];
  drop(assertion_handler);
  calls.clear();
  [ZLTUtils startProcessAssertion];
  EXPECT_THAT(calls, ElementsAre("pid WhatsApp", "invalidate", "dealloc after 0 lines", kCreate));
  EXPECT_THAT(logged_lines(), ElementsAre(kDropped));
}

TEST_F(ProcessControlContract, DropsAHeldAssertionOnce) {
  [ZLTUtils startProcessAssertion];
  calls.clear();
  [ZLTUtils stopProcessAssertion];
  EXPECT_THAT(calls, ElementsAre("invalidate", "dealloc after 0 lines"));
  EXPECT_THAT(logged_lines(), ElementsAre(kDropped));
  [ZLTUtils stopProcessAssertion];
  EXPECT_EQ(calls.size(), 2U);
  EXPECT_EQ(logged_lines().size(), 1U);
}

TEST_F(ProcessControlContract, HoldsNoneAnyMoreWhileTheDroppedOneGoes) {
  [ZLTUtils startProcessAssertion];
  calls.clear();
  stops_while_dropped = true;
  [ZLTUtils stopProcessAssertion];
  EXPECT_THAT(calls, ElementsAre("invalidate", "dealloc after 0 lines"));
  EXPECT_THAT(logged_lines(), ElementsAre(kDropped));
}

TEST_F(ProcessControlContract, SaysNothingWhereNoneIsHeld) {
  [ZLTUtils stopProcessAssertion];
  EXPECT_THAT(calls, IsEmpty());
  EXPECT_THAT(logged_lines(), IsEmpty());
}

} // namespace
