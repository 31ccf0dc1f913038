// The eight orientations as image files number them, 1 to 8, and as UIKit does.
#pragma once

#import <UIKit/UIImage.h>

#include <algorithm>
#include <array>

namespace veltro::host {

constexpr std::array kImageOrientations{UIImageOrientationUp,
                                        UIImageOrientationUpMirrored,
                                        UIImageOrientationDown,
                                        UIImageOrientationDownMirrored,
                                        UIImageOrientationLeftMirrored,
                                        UIImageOrientationRight,
                                        UIImageOrientationRightMirrored,
                                        UIImageOrientationLeft};

constexpr UIImageOrientation image_orientation(int in_file) {
  return kImageOrientations[static_cast<std::size_t>(in_file - 1)];
}

constexpr int file_orientation(UIImageOrientation orientation) {
  return static_cast<int>(std::ranges::find(kImageOrientations, orientation) -
                          kImageOrientations.begin()) +
         1;
}

} // namespace veltro::host
