#import <UIKit/UIKit.h>

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

TEST(UIDevice, IsOneObject) {
  EXPECT_NE([UIDevice currentDevice], nil);
  EXPECT_EQ([UIDevice currentDevice], [UIDevice currentDevice]);
}

TEST(UIDevice, PlaysTheDefaultRelease) {
  unsetenv("VELTRO_SYSTEM_VERSION");
  EXPECT_STREQ([[[UIDevice currentDevice] systemVersion] UTF8String], "9.3.5");
}

TEST(UIDevice, PlaysTheReleaseThatTheEnvironmentChooses) {
  setenv("VELTRO_SYSTEM_VERSION", "8.4.1", 1);
  EXPECT_STREQ([[[UIDevice currentDevice] systemVersion] UTF8String], "8.4.1");
}

} // namespace
