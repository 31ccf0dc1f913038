// AudioToolbox as far as this library uses it.
#pragma once

#include <MacTypes.h>

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef UInt32 SystemSoundID;

/// Plays a system sound with a vibration: "VibePattern" in `vibration` is an array of pairs,
/// whether to vibrate and for how many milliseconds, and "Intensity" a number up to 1. The argument
/// between is nil. Returns at once. Private to the system.
void AudioServicesPlaySystemSoundWithVibration(SystemSoundID sound, id unused,
                                               NSDictionary *vibration);

#ifdef __cplusplus
}
#endif
