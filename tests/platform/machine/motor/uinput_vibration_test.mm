// The motor on a real input device, made with uinput where the kernel has it and lets this user.

#include "both_calls.hpp"
#include "support/captured_log.hpp"
#include "support/virtual_rumble.hpp"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace veltro::test {
namespace {

using testing::ElementsAre;

TEST(UinputVibration, BothCallsReachTheDevice) {
  VirtualRumble device;
  if (!device.missing().empty())
    GTEST_SKIP() << "no virtual device: " << device.missing();
  const std::filesystem::path file = "/dev/input/" + device.event_name();
  if (access(file.c_str(), R_OK | W_OK) != 0)
    GTEST_SKIP() << "no virtual device: " << file.string() << ": " << std::strerror(errno);
  clear_log();
  vibrate_with_both_calls(file);
  EXPECT_THAT(device.served(),
              ElementsAre("upload 0: rumble 65535 and 0, 300 ms after 0 ms", "play 0", "stop 0",
                          "erase 0", "upload 0: rumble 32767 and 0, 500 ms after 0 ms", "play 0",
                          "upload 1: rumble 32767 and 0, 500 ms after 600 ms", "play 1",
                          // The motor lets the device go.
                          "stop 0", "erase 0", "stop 1", "erase 1"));
  EXPECT_THAT(logged_lines(),
              ElementsAre("Vibration: 300 ms, intensity 1.00",
                          "Vibration: 500 ms, after 600 ms 500 ms, intensity 0.50"));
}

} // namespace
} // namespace veltro::test
