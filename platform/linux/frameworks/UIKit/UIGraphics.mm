// The stack of contexts and the image contexts. Follows Apple's UIKit function reference; PDF
// contexts, printing and the other rectangle functions are left out.

#import <CoreGraphics/CGBitmapContext.h>
#import <UIKit/UIGraphics.h>
#import <UIKit/UIImage.h>
#import <UIKit/UIScreen.h>

#include "frameworks/CoreGraphics/context.hpp"

#include <cmath>
#include <vector>

namespace {

struct Entry {
  std::shared_ptr<CGContext> context;
  bool for_image = false;
  CGFloat scale = 1;
};

/// The contexts of a thread. Those that it leaves behind go with it.
thread_local std::vector<Entry> stack;

/// Adopts the caller's reference.
void push(CGContextRef context, bool for_image, CGFloat scale) {
  stack.push_back({{context, CGContextRelease}, for_image, scale});
}

/// Null where there are no such pixels. The caller owns it.
CGContextRef create_context(CGSize size, bool opaque, CGFloat scale) {
  const auto pixels = [scale](CGFloat points) {
    const double side = std::ceil(points * scale);
    return scale > 0 && side >= 1 && side <= static_cast<double>(veltro::host::kMaxSide)
               ? static_cast<std::size_t>(side)
               : 0;
  };
  const cairo_matrix_t base{scale, 0, 0, scale, 0, 0};
  return veltro::host::create_context(
      veltro::host::create_bitmap(pixels(size.width), pixels(size.height), opaque), base);
}

} // namespace

extern "C" {

CGContextRef UIGraphicsGetCurrentContext(void) {
  return stack.empty() ? nullptr : stack.back().context.get();
}

void UIGraphicsPushContext(CGContextRef context) {
  push(CGContextRetain(context), false, 1);
}

void UIGraphicsPopContext(void) {
  if (!stack.empty())
    stack.pop_back();
}

void UIGraphicsBeginImageContext(CGSize size) {
  UIGraphicsBeginImageContextWithOptions(size, NO, 1);
}

void UIGraphicsBeginImageContextWithOptions(CGSize size, BOOL opaque, CGFloat scale) {
  const CGFloat pixels = scale == 0 ? [[UIScreen mainScreen] scale] : scale;
  push(create_context(size, opaque != NO, pixels), true, pixels);
}

UIImage *UIGraphicsGetImageFromCurrentImageContext(void) {
  if (stack.empty() || !stack.back().for_image || stack.back().context == nullptr)
    return nil;
  const CGImageRef image = CGBitmapContextCreateImage(stack.back().context.get());
  UIImage *const result = [UIImage imageWithCGImage:image
                                              scale:stack.back().scale
                                        orientation:UIImageOrientationUp];
  CGImageRelease(image);
  return result;
}

void UIGraphicsEndImageContext(void) {
  if (!stack.empty() && stack.back().for_image)
    stack.pop_back();
}

void UIRectFill(CGRect rect) {
  CGContextFillRect(UIGraphicsGetCurrentContext(), rect);
}

} // extern "C"
