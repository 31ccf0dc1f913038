// veltro vibrate: one brief vibration.

#include "commands.hpp"
#include "io/main_queue.hpp"

#import <veltro/veltro.h>

#include <CLI/CLI.hpp>

namespace veltro::tool {
namespace {

int vibrate() {
  [ZLTUtils vibrateDevice];
  // The settings are restored after 0.3 seconds, and the motor rests when its process ends: as long
  // again, and the longer of the two vibrations.
  constexpr int64_t kVibrationTime = 950'000'000;
  run_main_queue_for(kVibrationTime);
  return 0;
}

} // namespace

void add_vibrate(CLI::App &app, Action &run) {
  CLI::App *command =
      app.add_subcommand("vibrate", "Vibrate once, as the settings of the device's release allow; "
                                    "the log says what was asked of the motor");
  command->callback([&run] { run = vibrate; });
}

} // namespace veltro::tool
