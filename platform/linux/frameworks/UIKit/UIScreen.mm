// UIScreen: the main screen. Follows Apple's UIScreen class reference; other screens, brightness,
// modes and the coordinate spaces are left out.

#import <UIKit/UIScreen.h>

#include "machine/device/environment.hpp"

@implementation UIScreen

+ (UIScreen *)mainScreen {
  static UIScreen *const screen = [[UIScreen alloc] init];
  return screen;
}

- (CGFloat)scale {
  return veltro::host::screen_scale();
}

// The size in points that the phones of each scale have.
- (CGRect)bounds {
  const int scale = veltro::host::screen_scale();
  if (scale == 2)
    return {{0, 0}, {375, 667}};
  return scale == 1 ? CGRectMake(0, 0, 320, 480) : CGRectMake(0, 0, 414, 736);
}

@end
