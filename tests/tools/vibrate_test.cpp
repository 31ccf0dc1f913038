#include "support/tool.hpp"

#include <cstdlib>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using veltro::test::run_tool;

TEST(VibrateTool, SaysInTheLogWhatWasAsked) {
  const auto result = run_tool({"vibrate"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, HasSubstr("Vibration: 300 ms, intensity 1.00"));
}

TEST(VibrateTool, DrivesTheMotorBeforeIOS9) {
  setenv("VELTRO_SYSTEM_VERSION", "8.4", 1);
  const auto result = run_tool({"vibrate"});
  unsetenv("VELTRO_SYSTEM_VERSION");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, HasSubstr("Vibration: 500 ms, intensity 1.00"));
}

TEST(VibrateTool, TakesNoArguments) {
  EXPECT_EQ(run_tool({"vibrate", "more"}).status, 2);
}

} // namespace
