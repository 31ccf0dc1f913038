// CoreMedia as far as this library uses it.
#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Makes the vibrator ready. Private to the system.
void FigVibratorInitialize(void);

/// Vibrates as `vibration` says: "OnDuration", "OffDuration" and "TotalDuration" in seconds, and
/// "Intensity", up to 1. The other arguments are zeros. Returns at once. Private to the system.
void FigVibratorPlayVibrationWithDictionary(CFDictionaryRef vibration, SInt32 zero,
                                            SInt32 another_zero, void *nothing,
                                            void *nothing_either);

#ifdef __cplusplus
}
#endif
