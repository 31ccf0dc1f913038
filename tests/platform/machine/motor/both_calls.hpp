// Both vibration calls through the evdev motor on a device that a test serves.
#pragma once

#include "machine/motor/evdev_motor.hpp"
#include "support/scratch.hpp"

#import <AudioToolbox/AudioToolbox.h>
#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>

namespace veltro::test {

/// 300 ms at full strength, then two cycles of 500 ms on and 100 ms off at half of it. The motor
/// finds `device` in a folder with nothing else, and lets it go at the end.
inline void vibrate_with_both_calls(const std::filesystem::path &device) {
  const auto number = [](double value) { return [NSNumber numberWithDouble:value]; };
  const ScratchFolder folder;
  std::filesystem::create_symlink(device, folder.path() / "event0");
  host::EvdevMotor device_motor(folder.path());
  const host::Motor motor = [&](const host::Vibration &each) { return device_motor.vibrate(each); };
  host::use_motor(&motor);
  NSArray *const steps = [NSArray arrayWithObjects:[NSNumber numberWithBool:YES], number(300), nil];
  AudioServicesPlaySystemSoundWithVibration(
      4095, nil,
      [NSDictionary
          dictionaryWithObjectsAndKeys:steps, @"VibePattern", number(1), @"Intensity", nil]);
  NSDictionary *const cycles = [NSDictionary
      dictionaryWithObjectsAndKeys:number(0.5), @"OnDuration", number(0.1), @"OffDuration",
                                   number(1.2), @"TotalDuration", number(0.5), @"Intensity", nil];
  FigVibratorInitialize();
  FigVibratorPlayVibrationWithDictionary(reinterpret_cast<CFDictionaryRef>(cycles), 0, 0, nullptr,
                                         nullptr);
  host::use_motor(nullptr);
}

} // namespace veltro::test
