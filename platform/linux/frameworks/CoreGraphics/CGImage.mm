// Images. Follows Apple's CGImage reference; masks, sub-images, indexed colour, and formats other
// than 8 bits a component are left out.

#include "frameworks/CoreGraphics/context.hpp"

#import <Foundation/Foundation.h>

#include <optional>

using veltro::host::PixelFormat;
using veltro::host::Pixels;
using veltro::host::pixels_of;

/// The object behind a CGImageRef.
@interface VHImage : NSObject {
@public
  std::shared_ptr<Pixels> *pixels_;
  NSData *bytes_;
}
@end

@implementation VHImage

- (void)dealloc {
  delete pixels_;
  [bytes_ release];
  [super dealloc];
}

@end

namespace {

VHImage *object(CGImageRef image) {
  return reinterpret_cast<VHImage *>(image);
}

std::optional<PixelFormat> format_of(size_t bits_per_component, size_t bits_per_pixel,
                                     CGColorSpaceRef space, CGBitmapInfo info) {
  const CGColorSpaceModel model = CGColorSpaceGetModel(space);
  const CGBitmapInfo order = info & kCGBitmapByteOrderMask;
  const CGBitmapInfo alpha = info & kCGBitmapAlphaInfoMask;
  const bool little = order == kCGBitmapByteOrder32Little;
  if (model == kCGColorSpaceModelMonochrome && bits_per_component == 8 && bits_per_pixel == 8 &&
      alpha == kCGImageAlphaNone)
    return veltro::host::kGrayBytes;
  if (model != kCGColorSpaceModelRGB || bits_per_component != 8 || bits_per_pixel != 32 ||
      (!little && order != kCGBitmapByteOrderDefault && order != kCGBitmapByteOrder32Big) ||
      alpha < kCGImageAlphaPremultipliedLast || alpha > kCGImageAlphaNoneSkipFirst)
    return std::nullopt;
  // The even ones.
  const bool alpha_first = alpha % 2 == 0;
  const int red = alpha_first ? 1 : 0;
  const auto at = [little](int place) {
    return static_cast<std::uint8_t>(little ? 3 - place : place);
  };
  return PixelFormat{.bytes = 4,
                     .red = at(red),
                     .green = at(red + 1),
                     .blue = at(red + 2),
                     .alpha = at(alpha_first ? 0 : 3),
                     .has_alpha = alpha <= kCGImageAlphaFirst,
                     .premultiplied = alpha <= kCGImageAlphaPremultipliedFirst};
}

} // namespace

namespace veltro::host {

CGImageRef create_image(std::shared_ptr<Pixels> pixels) {
  if (pixels == nullptr)
    return nullptr;
  VHImage *const image = [[VHImage alloc] init];
  image->pixels_ = new std::shared_ptr<Pixels>(std::move(pixels));
  return reinterpret_cast<CGImageRef>(image);
}

const Pixels *pixels_of(CGImageRef image) {
  return image != nullptr ? object(image)->pixels_->get() : nullptr;
}

} // namespace veltro::host

extern "C" {

CGImageRef CGImageCreate(size_t width, size_t height, size_t bits_per_component,
                         size_t bits_per_pixel, size_t bytes_per_row, CGColorSpaceRef space,
                         CGBitmapInfo bitmap_info, CGDataProviderRef provider,
                         const CGFloat * /*decode*/, bool /*should_interpolate*/,
                         CGColorRenderingIntent /*intent*/) {
  const auto format = format_of(bits_per_component, bits_per_pixel, space, bitmap_info);
  if (!format || provider == nullptr || bytes_per_row / format->bytes < width)
    return nullptr;
  NSData *const data = [(NSData *)CGDataProviderCopyData(provider) autorelease];
  const size_t length = [data length];
  if (width == 0 || height == 0 || length < width * format->bytes ||
      (length - width * format->bytes) / bytes_per_row < height - 1)
    return nullptr;
  return veltro::host::create_image(veltro::host::convert(
      width, height, static_cast<const std::uint8_t *>([data bytes]), bytes_per_row, *format));
}

CGImageRef CGImageRetain(CGImageRef image) {
  return reinterpret_cast<CGImageRef>([object(image) retain]);
}

void CGImageRelease(CGImageRef image) {
  [object(image) release];
}

size_t CGImageGetWidth(CGImageRef image) {
  return image != nullptr ? pixels_of(image)->shape().width : 0;
}

size_t CGImageGetHeight(CGImageRef image) {
  return image != nullptr ? pixels_of(image)->shape().height : 0;
}

size_t CGImageGetBitsPerComponent(CGImageRef image) {
  return image != nullptr ? 8 : 0;
}

size_t CGImageGetBitsPerPixel(CGImageRef image) {
  return image != nullptr ? 32 : 0;
}

size_t CGImageGetBytesPerRow(CGImageRef image) {
  return image != nullptr ? pixels_of(image)->shape().stride : 0;
}

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
  if (image == nullptr)
    return kCGImageAlphaNone;
  return pixels_of(image)->shape().opaque ? kCGImageAlphaNoneSkipFirst
                                          : kCGImageAlphaPremultipliedFirst;
}

CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image) {
  return image != nullptr ? kCGBitmapByteOrder32Little | CGBitmapInfo{CGImageGetAlphaInfo(image)}
                          : 0;
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
  static const CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();
  return image != nullptr ? rgb : nullptr;
}

CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
  VHImage *const of = object(image);
  @synchronized(of) {
    if (of != nil && of->bytes_ == nil)
      of->bytes_ = pixels_of(image)->read([](const veltro::host::Bitmap &bitmap) {
        return [[NSData alloc] initWithBytes:bitmap.row(0) length:bitmap.stride * bitmap.height];
      });
  }
  return of != nil ? reinterpret_cast<CGDataProviderRef>(of->bytes_) : nullptr;
}

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
  if (context == nullptr || image == nullptr || CGRectIsEmpty(rect))
    return;
  // The rows of an image count downwards, y counts upwards.
  veltro::host::draw_pixels(*veltro::host::context_of(context), *pixels_of(image),
                            {CGRectGetWidth(rect), 0, 0, -CGRectGetHeight(rect),
                             CGRectGetMinX(rect), CGRectGetMaxY(rect)});
}

} // extern "C"
