#include <MobileGestalt.h>

#include "machine/device/machine.hpp"

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

namespace {

NSString *value_of(NSString *question) {
  return [static_cast<NSString *>(
      const_cast<void *>(MGCopyAnswer(reinterpret_cast<CFStringRef>(question)))) autorelease];
}

NSString *text_or_nil(const std::string &text) {
  return text.empty() ? nil : [NSString stringWithUTF8String:text.c_str()];
}

TEST(MobileGestalt, IdentifierIsTheMachines) {
  NSString *const expected = text_or_nil(veltro::host::first_line("/etc/machine-id"));
  NSString *const value = value_of(@"UniqueDeviceID");
  EXPECT_TRUE(value == expected || [value isEqual:expected]);
}

TEST(MobileGestalt, SerialNumberIsTheMachines) {
  NSString *const expected = text_or_nil(veltro::host::machine_serial_number());
  NSString *const value = value_of(@"SerialNumber");
  EXPECT_TRUE(value == expected || [value isEqual:expected]);
}

TEST(MobileGestalt, OtherQuestionsHaveNoValue) {
  EXPECT_EQ(value_of(@"ProductType"), nil);
  EXPECT_EQ(value_of(@""), nil);
  EXPECT_EQ(value_of(nil), nil);
}

TEST(Machine, HasAModel) {
  EXPECT_FALSE(veltro::host::machine_model().empty());
}

} // namespace
