// Bitmap contexts. Follows Apple's CGBitmapContext reference; gray, alpha-only and unpremultiplied
// bitmaps are left out.

#include "frameworks/CoreGraphics/context.hpp"

#include <CoreGraphics/CGBitmapContext.h>

using veltro::host::context_of;

namespace {

/// With alpha last and the big byte first, red and blue have changed places and nothing else.
constexpr CGBitmapInfo info_of(bool opaque, bool swapped) {
  if (swapped)
    return kCGBitmapByteOrder32Big |
           CGBitmapInfo{opaque ? kCGImageAlphaNoneSkipLast : kCGImageAlphaPremultipliedLast};
  return kCGBitmapByteOrder32Little |
         CGBitmapInfo{opaque ? kCGImageAlphaNoneSkipFirst : kCGImageAlphaPremultipliedFirst};
}

} // namespace

extern "C" {

CGContextRef CGBitmapContextCreate(void *data, size_t width, size_t height,
                                   size_t bits_per_component, size_t bytes_per_row,
                                   CGColorSpaceRef space, CGBitmapInfo bitmap_info) {
  if ((bitmap_info & kCGBitmapByteOrderMask) == kCGBitmapByteOrderDefault)
    bitmap_info |= kCGBitmapByteOrder32Big;
  const bool swapped = (bitmap_info & kCGBitmapByteOrder32Big) != 0;
  const bool opaque = (bitmap_info & kCGBitmapAlphaInfoMask) >= kCGImageAlphaNoneSkipLast;
  if (bits_per_component != 8 || CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB ||
      bitmap_info != info_of(opaque, swapped))
    return nullptr;
  const cairo_matrix_t upwards{1, 0, 0, -1, 0, static_cast<double>(height)};
  return veltro::host::create_context(
      veltro::host::create_bitmap(width, height, opaque, data, bytes_per_row), upwards, swapped,
      data != nullptr);
}

void *CGBitmapContextGetData(CGContextRef context) {
  return context != nullptr ? context_of(context)->expose() : nullptr;
}

size_t CGBitmapContextGetWidth(CGContextRef context) {
  return context != nullptr ? context_of(context)->bitmap.width : 0;
}

size_t CGBitmapContextGetHeight(CGContextRef context) {
  return context != nullptr ? context_of(context)->bitmap.height : 0;
}

size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
  return context != nullptr ? context_of(context)->bitmap.stride : 0;
}

CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context) {
  if (context == nullptr)
    return 0;
  return info_of(context_of(context)->bitmap.opaque, context_of(context)->swapped);
}

CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  return context != nullptr ? veltro::host::create_image(context_of(context)->pixels()) : nullptr;
}

} // extern "C"
