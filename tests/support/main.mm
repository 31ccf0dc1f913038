#include "support/exclusive.hpp"
#include "support/scratch.hpp"

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

/// An autorelease pool around every test case.
class PoolListener : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo & /*info*/) override {
    pool_ = [[NSAutoreleasePool alloc] init];
  }
  void OnTestEnd(const testing::TestInfo & /*info*/) override { [pool_ drain]; }

  NSAutoreleasePool *pool_ = nil;
};

void keep_the_users_home_out() {
  const std::filesystem::path home = veltro::test::scratch() / "home";
  std::filesystem::create_directories(home);
  std::filesystem::create_directories(veltro::test::device_root());
  setenv("TZ", "UTC", 1);
  setenv("LC_ALL", "C.UTF-8", 1);
  setenv("HOME", home.c_str(), 1);
  setenv("VELTRO_ROOT", veltro::test::device_root().c_str(), 1);
  unsetenv("XDG_DATA_HOME");
  unsetenv("VELTRO_SYSTEM_VERSION");
  unsetenv("VELTRO_LOG");
}

} // namespace

int main(int argc, char **argv) {
  veltro::test::run_exclusively_if_asked(argc, argv);
  keep_the_users_home_out();
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new PoolListener);
  return RUN_ALL_TESTS();
}
