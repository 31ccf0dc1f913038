// The vibrator of CoreMedia, private to the system: no SDK declares it. Weak: a release may lack
// it, and the library has to load there all the same.
#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Makes the vibrator ready.
__attribute__((weak)) void FigVibratorInitialize(void);

/// Vibrates as `vibration` says: "OnDuration", "OffDuration" and "TotalDuration" in seconds, and
/// "Intensity", up to 1. The other arguments are zeros. Returns at once.
__attribute__((weak)) void FigVibratorPlayVibrationWithDictionary(CFDictionaryRef vibration,
                                                                  SInt32 zero, SInt32 another_zero,
                                                                  void *nothing,
                                                                  void *nothing_either);

#ifdef __cplusplus
}
#endif
