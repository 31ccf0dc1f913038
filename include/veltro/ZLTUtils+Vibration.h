#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// The device's motor.
@interface ZLTUtils (Vibration)

/// Makes the device vibrate once, briefly. Any thread.
///
/// From iOS 9 on the vibrate sound is played with a pattern of 300 milliseconds: at once where the
/// system's setting "ring-vibrate" is on; else "ring-vibrate" and "silent-vibrate" are switched on
/// in the domain com.apple.springboard, and 0.3 seconds later, on the main queue, the sound is
/// played and both are set back to what they were when the method was called. Each change is
/// announced with the Darwin notifications com.apple.springboard.ring-vibrate.changed and
/// com.apple.springboard.silent-vibrate.changed, in this order. Should the process end in between,
/// the settings stay on.
///
/// Before iOS 9 the motor is driven for one cycle of 0.5 seconds on and 0.1 seconds off, and no
/// setting is looked at.
///
/// Calls may overlap; each restores what it read itself. Failures go unnoticed, nothing is logged.
+ (void)vibrateDevice;

@end

#endif
