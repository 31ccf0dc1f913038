#include "ui/alert_layout.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace veltro {
namespace {

TEST(AlertLayout, IsChosenByFoundationVersion) {
  EXPECT_EQ(alert_layout(0), AlertLayout::subview);
  EXPECT_EQ(alert_layout(992.0), AlertLayout::subview);
  EXPECT_EQ(alert_layout(993.0), AlertLayout::subview);
  EXPECT_EQ(alert_layout(993.01), AlertLayout::accessory);
  EXPECT_EQ(alert_layout(1047.20), AlertLayout::accessory);
  EXPECT_EQ(alert_layout(1047.25), AlertLayout::accessory);
  EXPECT_EQ(alert_layout(1047.26), AlertLayout::container);
  EXPECT_EQ(alert_layout(1280.25), AlertLayout::container);
}

TEST(AlertLayout, TakesTheOldestForWhatIsNoNumber) {
  EXPECT_EQ(alert_layout(std::numeric_limits<double>::quiet_NaN()), AlertLayout::subview);
}

} // namespace
} // namespace veltro
