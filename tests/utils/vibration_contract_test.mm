// What a vibration asks of the platform, in order: the platform's functions and the defaults are
// the test's own.

#import <AudioToolbox/AudioToolbox.h>
#import <CoreMedia/CoreMedia.h>
#import <UIKit/UIKit.h>
#include <dispatch/dispatch.h>
#include <notify.h>
#import <veltro/veltro.h>

#include "support/captured_log.hpp"

#include <Block.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> calls;
std::vector<dispatch_block_t> scheduled;
NSDictionary *domain; ///< what the defaults hold for the springboard
NSDictionary *last_vibration;
bool arguments_are_zero;

std::string setting(NSDictionary *settings, NSString *key) {
  NSNumber *const value = [settings objectForKey:key];
  if (value == nil)
    return "none";
  const bool is_boolean = [value class] == [[NSNumber numberWithBool:YES] class];
  return std::string(is_boolean ? "" : "not boolean ") + ([value boolValue] ? "YES" : "NO");
}

std::string settings_text(NSDictionary *settings) {
  return "ring " + setting(settings, @"ring-vibrate") + " silent " +
         setting(settings, @"silent-vibrate");
}

void keep(NSDictionary *vibration) {
  [last_vibration release];
  last_vibration = [vibration retain];
}

} // namespace

extern "C" {

void AudioServicesPlaySystemSoundWithVibration(SystemSoundID sound, id unused,
                                               NSDictionary *vibration) {
  calls.push_back("play " + std::to_string(sound) + (unused == nil ? " nil" : " something"));
  keep(vibration);
}

void FigVibratorInitialize(void) {
  calls.emplace_back("initialize");
}

void FigVibratorPlayVibrationWithDictionary(CFDictionaryRef vibration, SInt32 zero,
                                            SInt32 another_zero, void *nothing,
                                            void *nothing_either) {
  calls.emplace_back("vibrate");
  arguments_are_zero =
      zero == 0 && another_zero == 0 && nothing == nullptr && nothing_either == nullptr;
  keep(static_cast<NSDictionary *>(const_cast<void *>(static_cast<const void *>(vibration))));
}

uint32_t notify_post(const char *name) {
  calls.push_back(std::string("post ") + name);
  return NOTIFY_STATUS_OK;
}

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) {
  calls.push_back("time " + std::to_string(when) + ' ' + std::to_string(delta));
  return 4711;
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
  calls.push_back("after " + std::to_string(when) +
                  (queue == dispatch_get_main_queue() ? " main" : " other"));
  scheduled.push_back(Block_copy(block));
}

} // extern "C"

@interface VTDefaults : NSObject
@end

@implementation VTDefaults
- (NSDictionary *)persistentDomainForName:(NSString *)name {
  calls.push_back("read " + std::string([name UTF8String]));
  return domain;
}
- (void)setPersistentDomain:(NSDictionary *)settings forName:(NSString *)name {
  calls.push_back("write " + std::string([name UTF8String]) + ' ' + settings_text(settings));
  NSDictionary *const copy = [settings copy];
  [domain release];
  domain = copy;
}
@end

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *kReadCall = "read com.apple.springboard";
constexpr const char *kPlay = "play 4095 nil";
constexpr const char *kRingChanged = "post com.apple.springboard.ring-vibrate.changed";
constexpr const char *kSilentChanged = "post com.apple.springboard.silent-vibrate.changed";
constexpr const char *kSwitchedOn = "write com.apple.springboard ring YES silent YES";

void replace(SEL selector) {
  method_setImplementation(
      class_getInstanceMethod([NSUserDefaults class], selector),
      method_getImplementation(class_getInstanceMethod([VTDefaults class], selector)));
}

class VibrationContract : public testing::Test {
protected:
  VibrationContract() {
    [[maybe_unused]] static const bool replaced = [] {
      [NSUserDefaults standardUserDefaults]; // which reads domains of its own when it is made
      replace(@selector(persistentDomainForName:));
      replace(@selector(setPersistentDomain:forName:));
      return true;
    }();
    setenv("VELTRO_SYSTEM_VERSION", "9.0", 1);
    calls.clear();
    veltro::test::clear_log();
  }
  ~VibrationContract() override {
    for (dispatch_block_t block : scheduled)
      Block_release(block);
    scheduled.clear();
    keep(nil);
    [domain release];
    domain = nil;
  }

  static void set_domain(NSDictionary *settings) {
    [domain release];
    domain = [settings copy];
  }

  static NSDictionary *settings(BOOL ring, BOOL silent) {
    return
        [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithBool:ring], @"ring-vibrate",
                                                   [NSNumber numberWithBool:silent],
                                                   @"silent-vibrate", @"kept", @"other", nil];
  }

  static void expect_number(id number, NSNumber *expected) {
    EXPECT_TRUE([number isEqual:expected]);
    EXPECT_STREQ([number objCType], [expected objCType]);
    EXPECT_EQ([number class], [expected class]);
  }

  static void expect_pattern() {
    EXPECT_EQ([last_vibration count], 2U);
    NSArray *const steps = [last_vibration objectForKey:@"VibePattern"];
    ASSERT_EQ([steps count], 2U);
    expect_number([steps objectAtIndex:0], [NSNumber numberWithBool:YES]);
    expect_number([steps objectAtIndex:1], [NSNumber numberWithDouble:300.0]);
    expect_number([last_vibration objectForKey:@"Intensity"], [NSNumber numberWithFloat:1.0F]);
  }
};

TEST_F(VibrationContract, PlaysAtOnceWhereTheRingerVibrates) {
  for (const BOOL silent : {YES, NO}) {
    calls.clear();
    set_domain(settings(YES, silent));
    [ZLTUtils vibrateDevice];
    EXPECT_THAT(calls, ElementsAre(kReadCall, kPlay));
    expect_pattern();
  }
  EXPECT_THAT(scheduled, IsEmpty());
}

TEST_F(VibrationContract, SwitchesBothSettingsOnMeanwhile) {
  set_domain(settings(NO, YES));
  @autoreleasepool {
    [ZLTUtils vibrateDevice];
  }
  EXPECT_THAT(calls, ElementsAre(kReadCall, kSwitchedOn, kRingChanged, kSilentChanged,
                                 "time 0 300000000", "after 4711 main"));
  EXPECT_EQ([domain count], 3U) << "the rest of the domain stays";
  EXPECT_EQ(last_vibration, nil);
  calls.clear();
  scheduled.front()();
  EXPECT_THAT(calls, ElementsAre(kPlay, "write com.apple.springboard ring NO silent YES",
                                 kRingChanged, kSilentChanged));
  EXPECT_EQ([domain count], 3U);
  expect_pattern();
  EXPECT_THAT(veltro::test::logged_lines(), IsEmpty());
}

TEST_F(VibrationContract, RestoresTheSilentSettingToNoToo) {
  set_domain(settings(NO, NO));
  [ZLTUtils vibrateDevice];
  calls.clear();
  scheduled.front()();
  EXPECT_EQ(calls[1], "write com.apple.springboard ring NO silent NO");
}

TEST_F(VibrationContract, CreatesAMissingDomain) {
  [ZLTUtils vibrateDevice];
  EXPECT_EQ(calls[1], kSwitchedOn);
  EXPECT_EQ([domain count], 2U);
  calls.clear();
  scheduled.front()();
  EXPECT_EQ(calls[1], "write com.apple.springboard ring NO silent NO");
}

TEST_F(VibrationContract, WritesBackTheDomainThatItRead) {
  set_domain(settings(NO, YES));
  [ZLTUtils vibrateDevice];
  set_domain([NSDictionary dictionaryWithObject:@"later" forKey:@"another"]);
  scheduled.front()();
  EXPECT_EQ([domain objectForKey:@"another"], nil);
  EXPECT_NE([domain objectForKey:@"other"], nil);
}

TEST_F(VibrationContract, EachOfTwoOverlappingCallsRestoresWhatItRead) {
  set_domain(settings(NO, YES));
  [ZLTUtils vibrateDevice];
  set_domain(settings(NO, NO));
  [ZLTUtils vibrateDevice];
  ASSERT_EQ(scheduled.size(), 2U);
  calls.clear();
  scheduled[0]();
  scheduled[1]();
  EXPECT_EQ(calls[1], "write com.apple.springboard ring NO silent YES");
  EXPECT_EQ(calls[5], "write com.apple.springboard ring NO silent NO");
}

TEST_F(VibrationContract, ASecondCallMeanwhileFindsTheRingerOn) {
  set_domain(settings(NO, NO));
  [ZLTUtils vibrateDevice];
  calls.clear();
  [ZLTUtils vibrateDevice];
  EXPECT_THAT(calls, ElementsAre(kReadCall, kPlay));
}

TEST_F(VibrationContract, ReadsNumbersAndTextsAsSettings) {
  for (const id on : {id{[NSNumber numberWithInt:256]}, id{@"YES"}}) {
    set_domain([NSDictionary dictionaryWithObject:on forKey:@"ring-vibrate"]);
    [ZLTUtils vibrateDevice];
    EXPECT_EQ(calls.back(), kPlay);
  }
  set_domain([NSDictionary
      dictionaryWithObjectsAndKeys:@"0", @"ring-vibrate", @"1", @"silent-vibrate", nil]);
  [ZLTUtils vibrateDevice];
  calls.clear();
  scheduled.front()();
  EXPECT_EQ(calls[1], "write com.apple.springboard ring NO silent YES");
}

TEST_F(VibrationContract, DrivesTheMotorBeforeIOS9) {
  for (const char *release : {"8.4.1", "7.0"}) {
    setenv("VELTRO_SYSTEM_VERSION", release, 1);
    calls.clear();
    [ZLTUtils vibrateDevice];
    [ZLTUtils vibrateDevice];
    EXPECT_THAT(calls, ElementsAre("initialize", "vibrate", "initialize", "vibrate"));
    EXPECT_TRUE(arguments_are_zero);
    EXPECT_EQ([last_vibration count], 4U);
    expect_number([last_vibration objectForKey:@"OnDuration"], [NSNumber numberWithFloat:0.5F]);
    expect_number([last_vibration objectForKey:@"OffDuration"], [NSNumber numberWithFloat:0.1F]);
    expect_number([last_vibration objectForKey:@"Intensity"], [NSNumber numberWithFloat:1.0F]);
    expect_number([last_vibration objectForKey:@"TotalDuration"], [NSNumber numberWithFloat:0.6F]);
  }
}

} // namespace
