#import <veltro/ZLTUtils+System.h>
#import <veltro/ZLTUtils+Vibration.h>

#import <AudioToolbox/AudioServicesVibration.h>
#import <CoreMedia/FigVibrator.h>
#include <dispatch/dispatch.h>
#include <notify.h>

namespace {

constexpr SystemSoundID kVibrateSound = 4095;
constexpr int64_t kRestoreDelay = 300'000'000; // nanoseconds

NSString *const kSpringboard = @"com.apple.springboard";
NSString *const kRingVibrate = @"ring-vibrate";
NSString *const kSilentVibrate = @"silent-vibrate";

/// Vibrates for 300 milliseconds.
NSDictionary *pattern() {
  NSArray *const steps = [NSArray
      arrayWithObjects:[NSNumber numberWithBool:YES], [NSNumber numberWithDouble:300.0], nil];
  return [NSDictionary dictionaryWithObjectsAndKeys:steps, @"VibePattern",
                                                    [NSNumber numberWithFloat:1.0F], @"Intensity",
                                                    nil];
}

/// One cycle of the motor, in seconds.
NSDictionary *cycle() {
  return [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithFloat:0.5F], @"OnDuration",
                                                    [NSNumber numberWithFloat:0.1F], @"OffDuration",
                                                    [NSNumber numberWithFloat:1.0F], @"Intensity",
                                                    [NSNumber numberWithFloat:0.6F],
                                                    @"TotalDuration", nil];
}

// Every private function is tested before it is called: a release may lack any of them.

void drive_the_motor() {
  if (FigVibratorInitialize == nullptr || FigVibratorPlayVibrationWithDictionary == nullptr)
    return;
  NSDictionary *const description = cycle();
  FigVibratorInitialize();
  FigVibratorPlayVibrationWithDictionary(reinterpret_cast<CFDictionaryRef>(description), 0, 0,
                                         nullptr, nullptr);
}

void play(NSDictionary *vibration) {
  if (AudioServicesPlaySystemSoundWithVibration != nullptr)
    AudioServicesPlaySystemSoundWithVibration(kVibrateSound, nil, vibration);
}

void write_settings(NSUserDefaults *defaults, NSMutableDictionary *settings, BOOL ring,
                    BOOL silent) {
  [settings setValue:[NSNumber numberWithBool:ring] forKey:kRingVibrate];
  [settings setValue:[NSNumber numberWithBool:silent] forKey:kSilentVibrate];
  [defaults setPersistentDomain:settings forName:kSpringboard];
  notify_post("com.apple.springboard.ring-vibrate.changed");
  notify_post("com.apple.springboard.silent-vibrate.changed");
}

} // namespace

@implementation ZLTUtils (Vibration)

+ (void)vibrateDevice {
  if (![self isIOS9]) {
    drive_the_motor();
    return;
  }
  NSDictionary *const vibration = pattern();
  NSUserDefaults *const defaults = [NSUserDefaults standardUserDefaults];
  NSMutableDictionary *settings =
      [[[defaults persistentDomainForName:kSpringboard] mutableCopy] autorelease];
  if (settings == nil)
    settings = [NSMutableDictionary dictionary];
  const BOOL ring = [[settings objectForKey:kRingVibrate] boolValue];
  const BOOL silent = [[settings objectForKey:kSilentVibrate] boolValue];
  // On purpose whatever the other setting says: with the ringer on, only this one counts.
  if (ring) {
    play(vibration);
    return;
  }
  write_settings(defaults, settings, YES, YES);
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, kRestoreDelay), dispatch_get_main_queue(), ^{
    // The vibration plays while the settings still allow it.
    play(vibration);
    write_settings(defaults, settings, ring, silent);
  });
}

@end
