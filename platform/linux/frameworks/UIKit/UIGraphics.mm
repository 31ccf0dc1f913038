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
  /// Of a context for an image; 0 for one that was pushed.
  CGFloat scale;
};

/// The contexts of a thread. Those that it leaves behind go with it.
thread_local std::vector<Entry> stack;

/// The pixels of a side; 0 where there is no such bitmap.
std::size_t pixels(CGFloat points, CGFloat scale) {
  const double side = std::ceil(points * scale);
  const bool exists = scale > 0 && side > 0 && side <= static_cast<double>(veltro::host::kMaxSide);
  return exists ? static_cast<std::size_t>(side) : 0;
}

} // namespace

extern "C" {

CGContextRef UIGraphicsGetCurrentContext(void) {
  return stack.empty() ? nullptr : stack.back().context.get();
}

void UIGraphicsPushContext(CGContextRef context) {
  stack.push_back({{CGContextRetain(context), CGContextRelease}, 0});
}

void UIGraphicsPopContext(void) {
  if (!stack.empty())
    stack.pop_back();
}

void UIGraphicsBeginImageContext(CGSize size) {
  UIGraphicsBeginImageContextWithOptions(size, NO, 1);
}

void UIGraphicsBeginImageContextWithOptions(CGSize size, BOOL opaque, CGFloat scale) {
  if (scale == 0)
    scale = [[UIScreen mainScreen] scale];
  const CGContextRef context = veltro::host::create_context(
      veltro::host::create_bitmap(pixels(size.width, scale), pixels(size.height, scale),
                                  opaque != NO),
      {scale, 0, 0, scale, 0, 0});
  stack.push_back({{context, CGContextRelease}, scale});
}

UIImage *UIGraphicsGetImageFromCurrentImageContext(void) {
  if (stack.empty() || stack.back().scale == 0 || stack.back().context == nullptr)
    return nil;
  const CGImageRef image = CGBitmapContextCreateImage(stack.back().context.get());
  UIImage *const result = [UIImage imageWithCGImage:image
                                              scale:stack.back().scale
                                        orientation:UIImageOrientationUp];
  CGImageRelease(image);
  return result;
}

void UIGraphicsEndImageContext(void) {
  if (!stack.empty() && stack.back().scale != 0)
    stack.pop_back();
}

void UIRectFill(CGRect rect) {
  CGContextFillRect(UIGraphicsGetCurrentContext(), rect);
}

} // extern "C"
