// Follows the kernel's documentation of force feedback for input devices (input/ff).

#include "machine/motor/evdev_motor.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

bool can_rumble(int device) {
  std::array<unsigned char, FF_MAX / 8 + 1> features{};
  return ioctl(device, EVIOCGBIT(EV_FF, features.size()), features.data()) >= 0 &&
         (features[FF_RUMBLE / 8] & (1U << (FF_RUMBLE % 8))) != 0;
}

std::uint16_t in_range(std::chrono::milliseconds time) {
  constexpr std::int64_t kLongest = 0x7fff;
  return static_cast<std::uint16_t>(std::clamp<std::int64_t>(time.count(), 0, kLongest));
}

} // namespace

EvdevMotor::EvdevMotor(std::string folder) : folder_(std::move(folder)) {}

bool EvdevMotor::vibrate(const Vibration &vibration) {
  const bool had_device = static_cast<bool>(device_);
  if (!had_device && !find_device())
    return false;
  if (play(vibration))
    return true;
  if (errno != ENODEV)
    return false;
  // Unplugged. Plugged in again it is another device, with none of the effects.
  close_device();
  return had_device && find_device() && play(vibration);
}

void EvdevMotor::close_device() {
  device_ = File();
  effects_.clear();
}

/// Whether all pulses were started; errno says why not.
bool EvdevMotor::play(const Vibration &vibration) {
  drop_effects();
  return std::ranges::all_of(vibration.pulses,
                             [&](const Pulse &pulse) { return start(pulse, vibration.intensity); });
}

bool EvdevMotor::find_device() {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
       entry.increment(error))
    if (entry->path().filename().string().starts_with("event"))
      names.push_back(entry->path().string());
  std::ranges::sort(names);
  for (const std::string &name : names) {
    File device(name, O_RDWR | O_NONBLOCK);
    if (device && can_rumble(device.number())) {
      device_ = std::move(device);
      return true;
    }
  }
  return false;
}

bool EvdevMotor::start(const Pulse &pulse, double intensity) {
  ff_effect effect{};
  effect.type = FF_RUMBLE;
  effect.id = -1;
  effect.replay.length = in_range(pulse.length);
  effect.replay.delay = in_range(pulse.start);
  effect.u.rumble.strong_magnitude =
      static_cast<std::uint16_t>(std::clamp(intensity, 0.0, 1.0) * UINT16_MAX);
  if (ioctl(device_.number(), EVIOCSFF, &effect) < 0)
    return false;
  effects_.push_back(effect.id);
  input_event play{};
  play.type = EV_FF;
  play.code = static_cast<std::uint16_t>(effect.id);
  play.value = 1;
  return write(device_.number(), &play, sizeof play) == sizeof play;
}

void EvdevMotor::drop_effects() {
  for (const int effect : std::exchange(effects_, {}))
    ioctl(device_.number(), EVIOCRMFF, effect);
}

} // namespace veltro::host
