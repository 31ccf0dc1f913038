// UIDevice: the current device and its system version. Follows Apple's UIDevice class reference;
// name, model, orientation, battery and proximity are left out.

#import <UIKit/UIDevice.h>

#include "machine/device/release.hpp"
#include "machine/text/utf8.hpp"

@implementation UIDevice

+ (UIDevice *)currentDevice {
  static UIDevice *const device = [[UIDevice alloc] init];
  return device;
}

- (NSString *)systemVersion {
  return veltro::host::string_of(veltro::host::system_version());
}

@end
