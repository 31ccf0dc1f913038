// What the two vibration services have in common: a request, and the motor that it drives.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace veltro::host {

struct Pulse {
  std::chrono::milliseconds start;
  std::chrono::milliseconds length;
  bool operator==(const Pulse &) const = default;
};

struct Vibration {
  std::vector<Pulse> pulses;
  double intensity = 0; ///< from 0 to 1
};

/// Starts a whole vibration and returns at once; whether it could.
using Motor = std::function<bool(const Vibration &)>;

/// Uses `motor` for the vibrations of this process from now on, instead of the machine's. It must
/// stay; null for the machine's again.
void use_motor(const Motor *motor);

/// Logs the request and starts it on the motor, if there is one.
void request_vibration(const Vibration &vibration);

} // namespace veltro::host
