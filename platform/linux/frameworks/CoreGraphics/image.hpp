// What stands behind a CGImageRef.
#pragma once

#include "machine/images/bitmap.hpp"

#include <CoreGraphics/CGImage.h>

namespace veltro::host {

/// An image of `pixels`, which the caller owns; null for null.
CGImageRef create_image(std::shared_ptr<Pixels> pixels);

/// Lives as long as the image; null for null.
const Pixels *pixels_of(CGImageRef image);

} // namespace veltro::host
