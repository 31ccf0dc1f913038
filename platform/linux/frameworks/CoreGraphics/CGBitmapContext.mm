// Bitmap contexts. Follows Apple's CGBitmapContext reference; gray, alpha-only and unpremultiplied
// bitmaps are left out.

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/CoreGraphics/image.hpp"

#include <CoreGraphics/CGBitmapContext.h>

using veltro::host::context_of;

namespace {

constexpr CGBitmapInfo big(CGImageAlphaInfo alpha) {
  return kCGBitmapByteOrder32Big | CGBitmapInfo{alpha};
}

constexpr CGBitmapInfo little(CGImageAlphaInfo alpha) {
  return kCGBitmapByteOrder32Little | CGBitmapInfo{alpha};
}

/// Whether a context can draw in this format. With alpha last and the big byte first, red and blue
/// have changed places and nothing else.
bool is_drawable(CGBitmapInfo info, bool &opaque, bool &swapped) {
  if ((info & kCGBitmapByteOrderMask) == kCGBitmapByteOrderDefault)
    info |= kCGBitmapByteOrder32Big;
  opaque = info == big(kCGImageAlphaNoneSkipLast) || info == little(kCGImageAlphaNoneSkipFirst);
  swapped = info == big(kCGImageAlphaNoneSkipLast) || info == big(kCGImageAlphaPremultipliedLast);
  return opaque || swapped || info == little(kCGImageAlphaPremultipliedFirst);
}

} // namespace

extern "C" {

CGContextRef CGBitmapContextCreate(void *data, size_t width, size_t height,
                                   size_t bits_per_component, size_t bytes_per_row,
                                   CGColorSpaceRef space, CGBitmapInfo bitmap_info) {
  bool opaque = false;
  bool swapped = false;
  if (bits_per_component != 8 || CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB ||
      !is_drawable(bitmap_info, opaque, swapped))
    return nullptr;
  const cairo_matrix_t upwards{1, 0, 0, -1, 0, static_cast<double>(height)};
  return veltro::host::create_context(
      data != nullptr ? veltro::host::bitmap_over(data, width, height, bytes_per_row, opaque)
                      : veltro::host::create_bitmap(width, height, opaque),
      upwards, swapped, data != nullptr);
}

void *CGBitmapContextGetData(CGContextRef context) {
  return context != nullptr ? context_of(context)->expose() : nullptr;
}

size_t CGBitmapContextGetWidth(CGContextRef context) {
  return context != nullptr ? context_of(context)->bitmap().width : 0;
}

size_t CGBitmapContextGetHeight(CGContextRef context) {
  return context != nullptr ? context_of(context)->bitmap().height : 0;
}

size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
  return context != nullptr ? context_of(context)->bitmap().stride : 0;
}

CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context) {
  if (context == nullptr)
    return 0;
  const bool opaque = context_of(context)->bitmap().opaque;
  return context_of(context)->swapped()
             ? big(opaque ? kCGImageAlphaNoneSkipLast : kCGImageAlphaPremultipliedLast)
             : little(opaque ? kCGImageAlphaNoneSkipFirst : kCGImageAlphaPremultipliedFirst);
}

CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  return context != nullptr ? veltro::host::create_image(context_of(context)->pixels()) : nullptr;
}

} // extern "C"
