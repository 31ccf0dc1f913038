// What a view draws, for tests.
#pragma once

#include "support/pixels.hpp"

#import <QuartzCore/QuartzCore.h>
#import <UIKit/UIKit.h>

#include <algorithm>

namespace veltro::test {

/// The view through its layer on nothing, in pixels of its bounds and `margin` points around them.
inline Picture picture_of(UIView *view, CGFloat scale = 1, CGFloat margin = 0) {
  const CGSize size = [view bounds].size;
  UIGraphicsBeginImageContextWithOptions(
      CGSizeMake(size.width + 2 * margin, size.height + 2 * margin), NO, scale);
  CGContextTranslateCTM(UIGraphicsGetCurrentContext(), margin, margin);
  [[view layer] renderInContext:UIGraphicsGetCurrentContext()];
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return Picture(image);
}

/// The pixels that are not clear: how many, and the smallest box around them.
struct Ink {
  std::size_t pixels = 0;
  std::size_t left = SIZE_MAX;
  std::size_t top = SIZE_MAX;
  std::size_t right = 0; ///< past the last one
  std::size_t bottom = 0;
};

inline Ink ink_of(const Picture &picture) {
  Ink ink;
  for (std::size_t y = 0; y < picture.height; ++y)
    for (std::size_t x = 0; x < picture.width; ++x)
      if (picture.at(x, y).alpha != 0) {
        ++ink.pixels;
        ink.left = std::min(ink.left, x);
        ink.top = std::min(ink.top, y);
        ink.right = std::max(ink.right, x + 1);
        ink.bottom = std::max(ink.bottom, y + 1);
      }
  return ink;
}

} // namespace veltro::test
