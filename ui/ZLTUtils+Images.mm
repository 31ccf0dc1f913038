#import <veltro/ZLTUtils+Images.h>

#include "utils/owned.hpp"

#include <CoreGraphics/CGContext.h>

#import <UIKit/UIGraphics.h>

@implementation ZLTUtils (Images)

+ (UIImage *)roundedImage:(UIImage *)image width:(float)width height:(float)height {
  if (image == nil)
    return nil;
  const veltro::Owned<UIImage *> kept([image retain]);

  // Scale 0 is the main screen's.
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(width, height), NO, 0.0);
  const CGContextRef context = UIGraphicsGetCurrentContext();

  const CGSize size = [kept.get() size];
  const auto scale_x = static_cast<CGFloat>(static_cast<double>(width) / size.width);
  const auto scale_y = static_cast<CGFloat>(static_cast<double>(height) / size.height);

  // The halves are single precision, and only the width makes the radius, on purpose: avatars
  // that callers have laid out around keep their shape to the bit.
  const float center_x = width * 0.5F;
  const float center_y = height * 0.5F;
  CGContextBeginPath(context);
  CGContextAddArc(context, center_x, center_y, center_x, 0, CGFloat(6.283185307179586), 0);
  CGContextClosePath(context);
  CGContextClip(context);

  CGContextScaleCTM(context, scale_x, scale_y);
  [kept.get() drawInRect:CGRectMake(0.0, 0.0, size.width, size.height)];

  UIImage *const rounded = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return rounded;
}

@end
