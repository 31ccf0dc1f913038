// UDID and serialNumber against a MobileGestalt that this file plays.

#import <veltro/UIDevice+ZLT.h>

#include <MobileGestalt.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> questions;
NSMutableString *value;

} // namespace

/// Hands out a reference of `value`, which the caller is to release.
extern "C" CFTypeRef MGCopyAnswer(CFStringRef question) {
  questions.emplace_back(
      [reinterpret_cast<NSString *>(const_cast<__CFString *>(question)) UTF8String]);
  return reinterpret_cast<CFTypeRef>([value retain]);
}

namespace {

/// Each test starts with a value that it owns, and ends with it released.
class DeviceIdentifiers : public testing::Test {
  void SetUp() override {
    questions.clear();
    value = [[NSMutableString alloc] initWithString:@"the value"];
  }
  void TearDown() override {
    [value release];
    value = nil;
  }
};

TEST_F(DeviceIdentifiers, AskTheirOwnQuestions) {
  EXPECT_TRUE([[[UIDevice currentDevice] UDID] isEqual:@"the value"]);
  EXPECT_TRUE([[[UIDevice currentDevice] serialNumber] isEqual:@"the value"]);
  EXPECT_EQ(questions, (std::vector<std::string>{"UniqueDeviceID", "SerialNumber"}));
}

TEST_F(DeviceIdentifiers, AreNewStringsAndTheValueIsReleased) {
  const NSUInteger references = [value retainCount];
  NSString *const identifier = [[UIDevice currentDevice] UDID];
  EXPECT_EQ([value retainCount], references);
  [value setString:@"changed"];
  EXPECT_TRUE([identifier isEqual:@"the value"]);
}

TEST_F(DeviceIdentifiers, AreNothingWithoutAValue) {
  [value release];
  value = nil;
  EXPECT_EQ([[UIDevice currentDevice] UDID], nil);
  EXPECT_EQ([[UIDevice currentDevice] serialNumber], nil);
  EXPECT_EQ(questions.size(), 2U);
}

} // namespace
