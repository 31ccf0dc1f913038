#include <MobileGestalt.h>

#include "machine/device/machine.hpp"
#include "machine/files/first_line.hpp"

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

namespace {

NSString *answer_to(NSString *question) {
  return [static_cast<NSString *>(
      const_cast<void *>(MGCopyAnswer(reinterpret_cast<CFStringRef>(question)))) autorelease];
}

NSString *text_or_nil(const std::string &text) {
  return text.empty() ? nil : [NSString stringWithUTF8String:text.c_str()];
}

TEST(MobileGestalt, IdentifierIsTheMachines) {
  NSString *const expected = text_or_nil(veltro::host::first_line("/etc/machine-id"));
  NSString *const answer = answer_to(@"UniqueDeviceID");
  EXPECT_TRUE(answer == expected || [answer isEqual:expected]);
}

TEST(MobileGestalt, SerialNumberIsTheMachines) {
  NSString *const expected = text_or_nil(veltro::host::machine_serial_number());
  NSString *const answer = answer_to(@"SerialNumber");
  EXPECT_TRUE(answer == expected || [answer isEqual:expected]);
}

TEST(MobileGestalt, OtherQuestionsHaveNoAnswer) {
  EXPECT_EQ(answer_to(@"ProductType"), nil);
  EXPECT_EQ(answer_to(@""), nil);
  EXPECT_EQ(answer_to(nil), nil);
}

TEST(Machine, HasAModel) {
  EXPECT_FALSE(veltro::host::machine_model().empty());
}

} // namespace
