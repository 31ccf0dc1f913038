#import <VeltroHost/VeltroHost.h>

#include "frameworks/UIKit/animation_clock.hpp"
#include "machine/root/device_root.hpp"

extern "C" NSString *VHDeviceRoot(void) {
  return [NSString stringWithUTF8String:veltro::host::device_root().c_str()];
}

extern "C" void VHSetAnimationTime(double seconds) {
  veltro::host::set_animation_time(seconds);
}
