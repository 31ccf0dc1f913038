// What is asked of a force-feedback device. No machine that builds this can be expected to have
// one: the device is a file, and its control calls go to the test.

#include "machine/motor/evdev_motor.hpp"

#include "intercepted_ioctl.hpp"
#include "support/app_bundles.hpp"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <vector>

namespace {

bool can_rumble = true;
int upload_error = 0; ///< of every upload until it is cleared
int uploads_before_unplugging = -1;
std::vector<ff_effect> uploaded;
std::vector<int> removed;

} // namespace

bool veltro::test::handles_ioctls(unsigned type) {
  return type == 'E';
}

int veltro::test::handle_ioctl(unsigned long request, void *argument) {
  if (request == EVIOCSFF) {
    auto *const effect = static_cast<ff_effect *>(argument);
    if (uploads_before_unplugging-- == 0)
      upload_error = ENODEV;
    if (upload_error != 0) {
      errno = upload_error;
      return -1;
    }
    EXPECT_EQ(effect->id, -1);
    effect->id = static_cast<std::int16_t>(uploaded.size() + 3);
    uploaded.push_back(*effect);
    return 0;
  }
  // A device that is looked at is one that is plugged in.
  if (request == EVIOCGBIT(EV_FF, FF_MAX / 8 + 1) && upload_error == ENODEV)
    upload_error = 0;
  if (request == EVIOCRMFF) {
    removed.push_back(static_cast<int>(reinterpret_cast<std::intptr_t>(argument)));
    return 0;
  }
  if (!can_rumble) {
    errno = EINVAL;
    return -1;
  }
  static_cast<unsigned char *>(argument)[FF_RUMBLE / 8] |= 1U << (FF_RUMBLE % 8);
  return 0;
}

namespace veltro::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class EvdevMotorContract : public testing::Test {
protected:
  EvdevMotorContract() {
    can_rumble = true;
    upload_error = 0;
    uploads_before_unplugging = -1;
    uploaded.clear();
    removed.clear();
    test::write_file(folder_.path() / "mouse0", "");
  }

  [[nodiscard]] std::vector<input_event> events() const {
    std::ifstream file(folder_.path() / "event1", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::vector<input_event> all(bytes.size() / sizeof(input_event));
    std::memcpy(all.data(), bytes.data(), all.size() * sizeof(input_event));
    return all;
  }

  test::ScratchFolder folder_;
};

TEST_F(EvdevMotorContract, UploadsAnEffectForEachPulseAndPlaysIt) {
  test::write_file(folder_.path() / "event1", "");
  EvdevMotor motor(folder_.path());
  EXPECT_TRUE(motor.vibrate({{{0ms, 300ms}, {400ms, 100ms}}, 0.5}));
  ASSERT_EQ(uploaded.size(), 2U);
  EXPECT_EQ(uploaded[0].type, FF_RUMBLE);
  EXPECT_EQ(uploaded[0].replay.length, 300);
  EXPECT_EQ(uploaded[0].replay.delay, 0);
  EXPECT_EQ(uploaded[0].u.rumble.strong_magnitude, 0x7fff);
  EXPECT_EQ(uploaded[1].replay.length, 100);
  EXPECT_EQ(uploaded[1].replay.delay, 400);
  const std::vector<input_event> played = events();
  ASSERT_EQ(played.size(), 2U);
  EXPECT_EQ(played[0].type, EV_FF);
  EXPECT_EQ(played[0].code, 3);
  EXPECT_EQ(played[0].value, 1);
  EXPECT_EQ(played[1].code, 4);
}

TEST_F(EvdevMotorContract, GivesTheEarlierEffectsBack) {
  test::write_file(folder_.path() / "event1", "");
  EvdevMotor motor(folder_.path());
  EXPECT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1}));
  EXPECT_TRUE(removed.empty());
  EXPECT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1}));
  EXPECT_EQ(removed, std::vector{3});
}

TEST_F(EvdevMotorContract, StaysWithinTheDevicesRange) {
  test::write_file(folder_.path() / "event1", "");
  EvdevMotor motor(folder_.path());
  EXPECT_TRUE(motor.vibrate({{{-5ms, 100s}}, 7}));
  EXPECT_EQ(uploaded.at(0).replay.length, 0x7fff);
  EXPECT_EQ(uploaded.at(0).replay.delay, 0);
  EXPECT_EQ(uploaded.at(0).u.rumble.strong_magnitude, 0xffff);
}

TEST_F(EvdevMotorContract, LooksAgainUntilThereIsADevice) {
  EvdevMotor motor(folder_.path());
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
  test::write_file(folder_.path() / "event1", "");
  can_rumble = false;
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
  can_rumble = true;
  EXPECT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1}));
}

TEST_F(EvdevMotorContract, LooksAgainWhenTheDeviceWasUnplugged) {
  test::write_file(folder_.path() / "event0", "");
  EvdevMotor motor(folder_.path());
  ASSERT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1}));
  fs::rename(folder_.path() / "event0", folder_.path() / "event1");
  uploads_before_unplugging = 1; // the second pulse finds it gone
  EXPECT_TRUE(motor.vibrate({{{0ms, 300ms}, {400ms, 100ms}}, 1}));
  EXPECT_EQ(uploaded.size(), 4U);
  EXPECT_EQ(removed, std::vector{3}) << "the new device knows none of the old one's effects";
  EXPECT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1})) << "and stays";
  EXPECT_EQ(removed, (std::vector{3, 5, 6}));
}

TEST_F(EvdevMotorContract, SaysNoUntilTheDeviceIsPluggedInAgain) {
  test::write_file(folder_.path() / "event1", "");
  EvdevMotor motor(folder_.path());
  ASSERT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1}));
  fs::remove(folder_.path() / "event1");
  uploads_before_unplugging = 0;
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
  test::write_file(folder_.path() / "event2", "");
  EXPECT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1}));
}

TEST_F(EvdevMotorContract, KeepsADeviceThatRefuses) {
  test::write_file(folder_.path() / "event1", "");
  EvdevMotor motor(folder_.path());
  ASSERT_TRUE(motor.vibrate({{{0ms, 300ms}}, 1}));
  upload_error = ENOSPC;
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1})) << "and is not looked for again";
  EXPECT_EQ(upload_error, ENOSPC);
}

TEST_F(EvdevMotorContract, HasNoMotorWithoutTheFolder) {
  EvdevMotor motor("/nonexistent");
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
}

TEST_F(EvdevMotorContract, SaysNoWhereTheDeviceIsFull) {
  test::write_file(folder_.path() / "event1", "");
  upload_error = ENOSPC;
  EvdevMotor motor(folder_.path());
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
}

} // namespace
} // namespace veltro::host
