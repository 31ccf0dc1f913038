// What is asked of a force-feedback device. No machine that builds this can be expected to have
// one: the device is a file, and its control calls are answered by the test.

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
bool takes_effects = true;
std::vector<ff_effect> uploaded;
std::vector<int> removed;

} // namespace

bool veltro::test::answers_ioctls(unsigned type) {
  return type == 'E';
}

int veltro::test::answer_ioctl(unsigned long request, void *argument) {
  if (request == EVIOCSFF) {
    auto *const effect = static_cast<ff_effect *>(argument);
    if (!takes_effects) {
      errno = ENOSPC;
      return -1;
    }
    EXPECT_EQ(effect->id, -1);
    effect->id = static_cast<std::int16_t>(uploaded.size() + 3);
    uploaded.push_back(*effect);
    return 0;
  }
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

using namespace std::chrono_literals;

class EvdevMotorContract : public testing::Test {
protected:
  EvdevMotorContract() {
    can_rumble = true;
    takes_effects = true;
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

TEST_F(EvdevMotorContract, HasNoMotorWithoutTheFolder) {
  EvdevMotor motor("/nonexistent");
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
}

TEST_F(EvdevMotorContract, SaysNoWhereTheDeviceIsFull) {
  test::write_file(folder_.path() / "event1", "");
  takes_effects = false;
  EvdevMotor motor(folder_.path());
  EXPECT_FALSE(motor.vibrate({{{0ms, 300ms}}, 1}));
}

} // namespace
} // namespace veltro::host
