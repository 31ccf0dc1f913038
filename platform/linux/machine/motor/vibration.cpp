#include "machine/motor/vibration.hpp"

#include "machine/log/log_line.hpp"
#include "machine/motor/evdev_motor.hpp"

#include <array>
#include <cstdio>
#include <mutex>

namespace veltro::host {
namespace {

std::mutex mutex;
const Motor *chosen_motor = nullptr;

/// Such as "300 ms, intensity 1.00", or "100 ms, after 200 ms 100 ms, intensity 0.50".
std::string description(const Vibration &vibration) {
  std::string text;
  for (const Pulse &pulse : vibration.pulses) {
    text += text.empty() ? "" : ", after " + std::to_string(pulse.start.count()) + " ms ";
    text += std::to_string(pulse.length.count()) + " ms";
  }
  std::array<char, 32> intensity{};
  std::snprintf(intensity.data(), intensity.size(), ", intensity %.2f", vibration.intensity);
  return (text.empty() ? "none" : text) + intensity.data();
}

} // namespace

void use_motor(const Motor *motor) {
  const std::lock_guard lock(mutex);
  chosen_motor = motor;
}

void request_vibration(const Vibration &vibration) {
  const std::lock_guard lock(mutex);
  // Never destroyed: the device drops its effects when it is closed.
  static EvdevMotor &machine = *new EvdevMotor("/dev/input");
  const bool started =
      chosen_motor != nullptr ? (*chosen_motor)(vibration) : machine.vibrate(vibration);
  log_line("Vibration: " + description(vibration) + (started ? "" : " (no motor)"));
}

} // namespace veltro::host
