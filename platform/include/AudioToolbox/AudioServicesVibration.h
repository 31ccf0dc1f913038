// Sounds with a vibration, private to the system: no SDK declares them. Weak: a release may lack
// them, and the library has to load there all the same.
#pragma once

#import <AudioToolbox/AudioToolbox.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Plays a system sound with a vibration: "VibePattern" in `vibration` is an array of pairs,
/// whether to vibrate and for how many milliseconds, and "Intensity" a number up to 1. The argument
/// between is nil. Returns at once.
__attribute__((weak)) void AudioServicesPlaySystemSoundWithVibration(SystemSoundID sound, id unused,
                                                                     NSDictionary *vibration);

#ifdef __cplusplus
}
#endif
