#include "machine/device/release.hpp"

#include <gtest/gtest.h>

namespace veltro::host {
namespace {

TEST(Release, HasTheFoundationNumberOfTheDevice) {
  EXPECT_EQ(foundation_version_number("6.0"), 992.00);
  EXPECT_EQ(foundation_version_number("6.1"), 993.00);
  EXPECT_EQ(foundation_version_number("6.1.6"), 993.00);
  EXPECT_EQ(foundation_version_number("7.0"), 1047.20);
  EXPECT_EQ(foundation_version_number("7.1.2"), 1047.25);
  EXPECT_EQ(foundation_version_number("8.0"), 1140.11);
  EXPECT_EQ(foundation_version_number("9.3.5"), 1280.25);
}

TEST(Release, OutsideTheKnownOnesTakesTheNearest) {
  EXPECT_EQ(foundation_version_number("5.1"), 992.00);
  EXPECT_EQ(foundation_version_number("99"), 1348.00);
  EXPECT_EQ(foundation_version_number(""), 992.00);
  EXPECT_EQ(foundation_version_number("nonsense"), 992.00);
}

} // namespace
} // namespace veltro::host
