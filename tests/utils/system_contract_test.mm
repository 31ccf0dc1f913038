// The two calls that read the model, whose results are the test's own.

#import <UIKit/UIKit.h>
#import <veltro/veltro.h>

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/sysctl.h>
#include <vector>

namespace {

std::vector<std::string> calls;
std::string model; ///< with its terminating zero; empty for a variable that cannot be read
size_t *length_variable;

} // namespace

extern "C" int sysctlbyname(const char *name, void *buffer, size_t *length, void *new_value,
                            size_t new_length) {
  calls.push_back(std::string(name) + (buffer == nullptr ? " length" : " value"));
  EXPECT_EQ(new_value, nullptr);
  EXPECT_EQ(new_length, 0U);
  if (model.empty())
    return -1;
  if (buffer == nullptr) {
    length_variable = length;
    *length = model.size();
  } else {
    EXPECT_EQ(length, length_variable);
    EXPECT_EQ(*length, model.size());
    std::memcpy(buffer, model.data(), model.size());
  }
  return 0;
}

namespace {

using testing::ElementsAre;

TEST(Platform, ReadsTheLengthAndThenTheValue) {
  calls.clear();
  model = std::string("iPhone7,2") + '\0';
  EXPECT_STREQ([[ZLTUtils platform] UTF8String], "iPhone7,2");
  EXPECT_EQ([[ZLTUtils platform] length], 9U);
  EXPECT_THAT(calls, ElementsAre("hw.machine length", "hw.machine value", "hw.machine length",
                                 "hw.machine value"));
}

TEST(Platform, CachesNothing) {
  model = std::string("iPad4,1") + '\0';
  EXPECT_STREQ([[ZLTUtils platform] UTF8String], "iPad4,1");
  model = std::string("iPod5,1") + '\0';
  EXPECT_STREQ([[ZLTUtils platform] UTF8String], "iPod5,1");
}

TEST(Platform, TakesTheBytesUpToTheFirstZero) {
  model = std::string("iPhone\0rest\0", 12);
  EXPECT_STREQ([[ZLTUtils platform] UTF8String], "iPhone");
}

TEST(Platform, MakesBothCallsAlsoWhereTheVariableCannotBeRead) {
  calls.clear();
  model.clear();
  EXPECT_STREQ([[ZLTUtils platform] UTF8String], "");
  EXPECT_EQ(calls.size(), 2U);
}

} // namespace
