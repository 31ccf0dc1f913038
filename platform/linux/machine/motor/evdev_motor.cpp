// Follows the kernel's documentation of force feedback for input devices (input/ff).

#include "machine/motor/evdev_motor.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <glob.h>
#include <linux/input.h>
#include <memory>
#include <span>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace veltro::host {
namespace {

bool can_rumble(int device) {
  std::array<unsigned char, FF_MAX / 8 + 1> features{};
  return ioctl(device, EVIOCGBIT(EV_FF, features.size()), features.data()) >= 0 &&
         (features[FF_RUMBLE / 8] & (1U << (FF_RUMBLE % 8))) != 0;
}

std::uint16_t in_range(std::chrono::milliseconds time) {
  constexpr std::int64_t kLongest = 0x7fff;
  return static_cast<std::uint16_t>(std::clamp<std::int64_t>(time.count(), 0, kLongest));
}

File find_device(const std::string &folder) {
  glob_t found{};
  glob((folder + "/event*").c_str(), 0, nullptr, &found);
  const std::unique_ptr<glob_t, void (*)(glob_t *)> owner(&found, globfree);
  for (const char *const path : std::span(found.gl_pathv, found.gl_pathc))
    if (File device(path, O_RDWR | O_NONBLOCK); device && can_rumble(device.number()))
      return device;
  return {};
}

} // namespace

bool EvdevMotor::vibrate(const Vibration &vibration) {
  if (device_) {
    if (play(vibration))
      return true;
    if (errno != ENODEV)
      return false;
    // Unplugged. Plugged in again it is another device, with none of the effects.
    effects_.clear();
  }
  device_ = find_device(folder_);
  return device_ && play(vibration);
}

bool EvdevMotor::play(const Vibration &vibration) {
  for (const int effect : std::exchange(effects_, {}))
    ioctl(device_.number(), EVIOCRMFF, effect);
  for (const Pulse &pulse : vibration.pulses) {
    ff_effect effect{};
    effect.type = FF_RUMBLE;
    effect.id = -1;
    effect.replay.length = in_range(pulse.length);
    effect.replay.delay = in_range(pulse.start);
    effect.u.rumble.strong_magnitude =
        static_cast<std::uint16_t>(std::clamp(vibration.intensity, 0.0, 1.0) * UINT16_MAX);
    if (ioctl(device_.number(), EVIOCSFF, &effect) < 0)
      return false;
    effects_.push_back(effect.id);
    input_event play{};
    play.type = EV_FF;
    play.code = static_cast<std::uint16_t>(effect.id);
    play.value = 1;
    if (write(device_.number(), &play, sizeof play) != sizeof play)
      return false;
  }
  return true;
}

} // namespace veltro::host
