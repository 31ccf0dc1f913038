#import <UIKit/UIKit.h>
#import <veltro/veltro.h>

#include "support/replaced_method.hpp"
#include "support/scratch.hpp"

#include <array>
#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/utsname.h>

namespace {

struct Expected {
  const char *release;
  bool ios8;
  bool ios8_2;
  bool ios9;
};

class Releases : public testing::TestWithParam<Expected> {};

NSString *release;

NSString *played_release(id /*self*/, SEL /*selector*/) {
  return release;
}

TEST_P(Releases, AreToldApart) {
  const Expected expected = GetParam();
  release = [NSString stringWithUTF8String:expected.release];
  const veltro::test::ReplacedMethod replaced(
      class_getInstanceMethod([UIDevice class], @selector(systemVersion)), played_release);
  EXPECT_EQ([ZLTUtils isIOS8], expected.ios8 ? YES : NO);
  EXPECT_EQ([ZLTUtils isIOS8_2], expected.ios8_2 ? YES : NO);
  EXPECT_EQ([ZLTUtils isIOS9], expected.ios9 ? YES : NO);
}

INSTANTIATE_TEST_SUITE_P(
    System, Releases,
    testing::Values(
        Expected{"6.0", false, false, false}, Expected{"7.1.2", false, false, false},
        Expected{"8.0", true, false, false}, Expected{"8", true, false, false},
        Expected{"8.1.3", true, false, false}, Expected{"8.10", true, false, false},
        Expected{"8.2", true, true, false}, Expected{"8.2.1", true, true, false},
        Expected{"8.4.1", true, true, false}, Expected{"9.0", true, true, true},
        Expected{"9.3.5", true, true, true}, Expected{"10.0", true, true, true},
        Expected{"beta 9", false, false, false}, Expected{"-9", false, false, false},
        Expected{"8.1999998", true, true, false}, Expected{"8.1999993", true, false, false},
        Expected{"7.9999998", true, false, false}, Expected{"7.9999997", false, false, false},
        Expected{"8.9999996", true, true, true}, Expected{"8.9999995", true, true, false}));

TEST(System, AsksThePlatformEachTime) {
  setenv("VELTRO_SYSTEM_VERSION", "7.0", 1);
  EXPECT_EQ([ZLTUtils isIOS9], NO);
  setenv("VELTRO_SYSTEM_VERSION", "9.0", 1);
  EXPECT_EQ([ZLTUtils isIOS9], YES);
  unsetenv("VELTRO_SYSTEM_VERSION");
}

TEST(System, ReadsReleasesAlikeWhereADecimalCommaIsWritten) {
  const veltro::test::ScratchFolder folder;
  const std::string compile =
      "localedef -i de_DE -f UTF-8 '" + folder.path().string() + "/de_DE.UTF-8'";
  ASSERT_EQ(std::system(compile.c_str()), 0);
  setenv("LOCPATH", folder.path().c_str(), 1);
  for (const char *locale : {"C", "de_DE.UTF-8"}) {
    ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr) << locale;
    setenv("VELTRO_SYSTEM_VERSION", "8.2", 1);
    EXPECT_EQ([ZLTUtils isIOS8_2], YES) << locale;
    EXPECT_EQ([@"8.2" floatValue], 8.2F) << locale;
    EXPECT_EQ([@"8.10" floatValue], 8.1F) << locale;
    EXPECT_EQ([@"8,9" floatValue], 8.0F) << locale;
    EXPECT_EQ([@"" floatValue], 0.0F) << locale;
  }
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
  std::setlocale(LC_ALL, "C.UTF-8");
  unsetenv("LOCPATH");
  unsetenv("VELTRO_SYSTEM_VERSION");
}

TEST(System, NamesTheModelOfThisMachine) {
  NSString *const model = [ZLTUtils platform];
  ASSERT_GT([model length], 0U);
  EXPECT_EQ([model rangeOfString:@"\0"].length, 0U);
}

} // namespace
