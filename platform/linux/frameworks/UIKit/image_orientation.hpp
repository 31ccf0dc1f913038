// The eight orientations as image files number them, 1 to 8, and as UIKit does.
#pragma once

#import <UIKit/UIImage.h>

#include <algorithm>
#include <array>

namespace veltro::host {

constexpr std::array image_orientations{UIImageOrientationUp,
                                        UIImageOrientationUpMirrored,
                                        UIImageOrientationDown,
                                        UIImageOrientationDownMirrored,
                                        UIImageOrientationLeftMirrored,
                                        UIImageOrientationRight,
                                        UIImageOrientationRightMirrored,
                                        UIImageOrientationLeft};

constexpr UIImageOrientation image_orientation(int in_file) {
  return image_orientations[static_cast<std::size_t>(in_file - 1)];
}

constexpr int file_orientation(UIImageOrientation orientation) {
  return static_cast<int>(std::ranges::find(image_orientations, orientation) -
                          image_orientations.begin()) +
         1;
}

} // namespace veltro::host
