// AudioServicesPlaySystemSoundWithVibration, after how components of jailbroken devices call the
// private function. The vibration only: sounds, and vibrations without end, are left out.

#import <AudioToolbox/AudioToolbox.h>

#include "machine/motor/vibration.hpp"

namespace {

using std::chrono::milliseconds;

/// The pairs of `steps`: whether to vibrate, and for how many milliseconds.
std::vector<veltro::host::Pulse> pulses_of(NSArray *steps) {
  std::vector<veltro::host::Pulse> pulses;
  milliseconds start{0};
  for (NSUInteger i = 0; i + 1 < [steps count]; i += 2) {
    const milliseconds length{[[steps objectAtIndex:i + 1] intValue]};
    if ([[steps objectAtIndex:i] boolValue])
      pulses.push_back({start, length});
    start += length;
  }
  return pulses;
}

} // namespace

extern "C" void AudioServicesPlaySystemSoundWithVibration(SystemSoundID /*sound*/, id /*unused*/,
                                                          NSDictionary *vibration) {
  veltro::host::request_vibration({pulses_of([vibration objectForKey:@"VibePattern"]),
                                   [[vibration objectForKey:@"Intensity"] doubleValue]});
}
