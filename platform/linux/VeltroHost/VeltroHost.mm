#import <VeltroHost/VeltroHost.h>

#include "frameworks/UIKit/animation_clock.hpp"
#include "machine/root/device_root.hpp"
#include "machine/text/utf8.hpp"

extern "C" NSString *VHDeviceRoot(void) {
  return veltro::host::string_of(veltro::host::device_root());
}

extern "C" void VHSetAnimationTime(double seconds) {
  veltro::host::set_animation_time(seconds);
}
