// The vibrator of CoreMedia, after how components of jailbroken devices call the private functions.

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>

#include "machine/motor/vibration.hpp"

#include <algorithm>
#include <cmath>

namespace {

using std::chrono::milliseconds;

milliseconds duration(NSDictionary *description, NSString *key) {
  constexpr double kLongest = 30'000;
  const double asked = [[description objectForKey:key] doubleValue] * 1000;
  // fmax and fmin, unlike clamp, take the number where the other is none.
  return milliseconds(std::lround(std::fmin(std::fmax(asked, 0.0), kLongest)));
}

/// On and off in turn until the total is reached.
std::vector<veltro::host::Pulse> pulses_of(NSDictionary *description) {
  const milliseconds on = duration(description, @"OnDuration");
  const milliseconds total = duration(description, @"TotalDuration");
  const milliseconds off = duration(description, @"OffDuration");
  std::vector<veltro::host::Pulse> pulses;
  for (milliseconds start{0}; on > milliseconds(0) && start < total; start += on + off)
    pulses.push_back({start, std::min(on, total - start)});
  return pulses;
}

} // namespace

extern "C" {

void FigVibratorInitialize(void) {
  // The machine's motor is looked for when there is something to vibrate.
}

void FigVibratorPlayVibrationWithDictionary(CFDictionaryRef vibration, SInt32 /*zero*/,
                                            SInt32 /*zero*/, void * /*nothing*/,
                                            void * /*nothing*/) {
  NSDictionary *const description = (NSDictionary *)vibration;
  veltro::host::request_vibration(
      {pulses_of(description), [[description objectForKey:@"Intensity"] doubleValue]});
}

} // extern "C"
