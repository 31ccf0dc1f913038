// A force-feedback device of the kernel's input layer as the motor.
#pragma once

#include "machine/files/file.hpp"
#include "machine/motor/vibration.hpp"

namespace veltro::host {

class EvdevMotor {
public:
  /// Takes the first device in `folder` that can rumble and that this process may write to, when it
  /// is first asked to vibrate; looks again each time until there is one, and when it was
  /// unplugged.
  explicit EvdevMotor(std::string folder) : folder_(std::move(folder)) {}

  /// As a `Motor` does.
  bool vibrate(const Vibration &vibration);

private:
  /// Whether all pulses were started; errno says why not.
  bool play(const Vibration &vibration);

  std::string folder_;
  File device_;
  std::vector<int> effects_;
};

} // namespace veltro::host
