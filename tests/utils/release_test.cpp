#include "utils/release.hpp"

#include <gtest/gtest.h>

namespace veltro::release {
namespace {

// At compile time: the comparison is one of single-precision numbers.
static_assert(is_at_least(8.0F, kIOS8) && !is_at_least(7.9F, kIOS8));
static_assert(is_at_least(8.2F, kIOS8_2) && !is_at_least(8.1F, kIOS8_2));
static_assert(is_at_least(9.0F, kIOS9) && !is_at_least(8.4F, kIOS9));

TEST(Release, ComparesSinglePrecisionNumbers) {
  EXPECT_EQ(static_cast<double>(kIOS8_2), 8.19999980926513671875);
  EXPECT_TRUE(is_at_least(static_cast<float>(8.2), kIOS8_2));
  EXPECT_LT(static_cast<double>(kIOS8_2), 8.2);
}

} // namespace
} // namespace veltro::release
