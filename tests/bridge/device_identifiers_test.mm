// UDID and serialNumber against a MobileGestalt that this file plays.

#import <veltro/UIDevice+ZLT.h>

#include <MobileGestalt.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> questions;
NSMutableString *answer;

} // namespace

/// Hands out a reference of `answer`, which the caller is to release.
extern "C" CFTypeRef MGCopyAnswer(CFStringRef question) {
  questions.emplace_back(
      [reinterpret_cast<NSString *>(const_cast<__CFString *>(question)) UTF8String]);
  return reinterpret_cast<CFTypeRef>([answer retain]);
}

namespace {

/// Each test starts with an answer that it owns, and ends with it released.
class DeviceIdentifiers : public testing::Test {
  void SetUp() override {
    questions.clear();
    answer = [[NSMutableString alloc] initWithString:@"the answer"];
  }
  void TearDown() override {
    [answer release];
    answer = nil;
  }
};

TEST_F(DeviceIdentifiers, AskTheirOwnQuestions) {
  EXPECT_TRUE([[[UIDevice currentDevice] UDID] isEqual:@"the answer"]);
  EXPECT_TRUE([[[UIDevice currentDevice] serialNumber] isEqual:@"the answer"]);
  EXPECT_EQ(questions, (std::vector<std::string>{"UniqueDeviceID", "SerialNumber"}));
}

TEST_F(DeviceIdentifiers, AreNewStringsAndTheAnswerIsReleased) {
  const NSUInteger references = [answer retainCount];
  NSString *const identifier = [[UIDevice currentDevice] UDID];
  EXPECT_EQ([answer retainCount], references);
  [answer setString:@"changed"];
  EXPECT_TRUE([identifier isEqual:@"the answer"]);
}

TEST_F(DeviceIdentifiers, AreNothingWithoutAnAnswer) {
  [answer release];
  answer = nil;
  EXPECT_EQ([[UIDevice currentDevice] UDID], nil);
  EXPECT_EQ([[UIDevice currentDevice] serialNumber], nil);
  EXPECT_EQ(questions.size(), 2U);
}

} // namespace
