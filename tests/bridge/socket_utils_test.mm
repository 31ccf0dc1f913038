#import <veltro/ZLTSocketUtils.h>

#include <gtest/gtest.h>
#include <limits>

namespace {

class SocketUtils : public testing::Test {
protected:
  // Before any test of this process has set it.
  static void SetUpTestSuite() { first_port = [ZLTSocketUtils socketPort]; }
  static inline NSInteger first_port = -1;
};

TEST_F(SocketUtils, StartsWithPortZero) {
  EXPECT_EQ(first_port, 0);
}

TEST_F(SocketUtils, KeepsAnyWordAsItIs) {
  for (const NSInteger port :
       {NSInteger{4711}, NSInteger{-1}, NSInteger{65536}, std::numeric_limits<NSInteger>::max(),
        std::numeric_limits<NSInteger>::min(), NSInteger{0}}) {
    [ZLTSocketUtils setSocketPort:port];
    EXPECT_EQ([ZLTSocketUtils socketPort], port);
  }
}

} // namespace
