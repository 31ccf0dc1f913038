// Images. Follows Apple's CGImage reference; masks, sub-images, indexed colour, and formats other
// than 8 bits a component are left out.

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/CoreGraphics/data_provider.h"
#include "frameworks/CoreGraphics/image.hpp"
#include "machine/images/pixel_format.hpp"

#include <CoreGraphics/CGContext.h>

#import <Foundation/Foundation.h>

#include <optional>
#include <utility>

using veltro::host::Bitmap;
using veltro::host::PixelFormat;
using veltro::host::Pixels;
using veltro::host::pixels_of;

/// Provides the bytes of an image.
@interface VHPixelProvider : VHDataProvider {
@public
  std::shared_ptr<Pixels> *pixels_;
}
@end

@implementation VHPixelProvider

- (void)dealloc {
  delete pixels_;
  [super dealloc];
}

- (NSData *)copyData {
  return (*pixels_)->read([](const Bitmap &bitmap) {
    return [[NSData alloc] initWithBytes:bitmap.data() length:bitmap.stride() * bitmap.height()];
  });
}

@end

/// The object behind a CGImageRef.
@interface VHImage : NSObject {
@public
  VHPixelProvider *provider_;
  CGColorSpaceRef space_;
}
@end

@implementation VHImage

- (void)dealloc {
  [provider_ release];
  CGColorSpaceRelease(space_);
  [super dealloc];
}

@end

namespace {

VHImage *object(CGImageRef image) {
  return reinterpret_cast<VHImage *>(image);
}

std::optional<PixelFormat> rgb_format(CGBitmapInfo info) {
  const CGBitmapInfo order = info & kCGBitmapByteOrderMask;
  const CGBitmapInfo alpha = info & kCGBitmapAlphaInfoMask;
  const bool little = order == kCGBitmapByteOrder32Little;
  if ((!little && order != kCGBitmapByteOrderDefault && order != kCGBitmapByteOrder32Big) ||
      alpha < kCGImageAlphaPremultipliedLast || alpha > kCGImageAlphaNoneSkipFirst)
    return std::nullopt;
  const bool alpha_first = alpha == kCGImageAlphaPremultipliedFirst ||
                           alpha == kCGImageAlphaFirst || alpha == kCGImageAlphaNoneSkipFirst;
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

std::optional<PixelFormat> format_of(size_t bits_per_component, size_t bits_per_pixel,
                                     CGColorSpaceRef space, CGBitmapInfo info) {
  if (bits_per_component != 8)
    return std::nullopt;
  switch (CGColorSpaceGetModel(space)) {
  case kCGColorSpaceModelRGB:
    return bits_per_pixel == 32 ? rgb_format(info) : std::nullopt;
  case kCGColorSpaceModelMonochrome:
    if (bits_per_pixel == 8 && (info & kCGBitmapAlphaInfoMask) == kCGImageAlphaNone)
      return veltro::host::kGrayBytes;
    return std::nullopt;
  case kCGColorSpaceModelUnknown:
    break;
  }
  return std::nullopt;
}

} // namespace

namespace veltro::host {

CGImageRef create_image(std::shared_ptr<Pixels> pixels) {
  if (pixels == nullptr)
    return nullptr;
  VHImage *const image = [[VHImage alloc] init];
  image->provider_ = [[VHPixelProvider alloc] init];
  image->provider_->pixels_ = new std::shared_ptr<Pixels>(std::move(pixels));
  image->space_ = CGColorSpaceCreateDeviceRGB();
  return reinterpret_cast<CGImageRef>(image);
}

const Pixels *pixels_of(CGImageRef image) {
  return image != nullptr ? object(image)->provider_->pixels_->get() : nullptr;
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
  std::shared_ptr<Bitmap> bitmap = Bitmap::create(width, height, !format->has_alpha);
  if (bitmap == nullptr)
    return nullptr;
  veltro::host::convert(*bitmap, static_cast<const std::uint8_t *>([data bytes]), bytes_per_row,
                        *format);
  return veltro::host::create_image(std::make_shared<Pixels>(std::move(bitmap)));
}

CGImageRef CGImageRetain(CGImageRef image) {
  return reinterpret_cast<CGImageRef>([object(image) retain]);
}

void CGImageRelease(CGImageRef image) {
  [object(image) release];
}

size_t CGImageGetWidth(CGImageRef image) {
  return image != nullptr ? pixels_of(image)->width : 0;
}

size_t CGImageGetHeight(CGImageRef image) {
  return image != nullptr ? pixels_of(image)->height : 0;
}

size_t CGImageGetBitsPerComponent(CGImageRef image) {
  return image != nullptr ? 8 : 0;
}

size_t CGImageGetBitsPerPixel(CGImageRef image) {
  return image != nullptr ? 32 : 0;
}

size_t CGImageGetBytesPerRow(CGImageRef image) {
  return image != nullptr ? pixels_of(image)->stride : 0;
}

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
  if (image == nullptr)
    return kCGImageAlphaNone;
  return pixels_of(image)->opaque ? kCGImageAlphaNoneSkipFirst : kCGImageAlphaPremultipliedFirst;
}

CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image) {
  return image != nullptr ? kCGBitmapByteOrder32Little | CGBitmapInfo{CGImageGetAlphaInfo(image)}
                          : 0;
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
  return image != nullptr ? object(image)->space_ : nullptr;
}

CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
  return image != nullptr ? reinterpret_cast<CGDataProviderRef>(object(image)->provider_) : nullptr;
}

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
  if (context == nullptr || image == nullptr || CGRectIsEmpty(rect))
    return;
  const Pixels &pixels = *pixels_of(image);
  // The rows of an image count downwards, y counts upwards.
  const cairo_matrix_t placement{CGRectGetWidth(rect) / static_cast<CGFloat>(pixels.width),
                                 0,
                                 0,
                                 -CGRectGetHeight(rect) / static_cast<CGFloat>(pixels.height),
                                 CGRectGetMinX(rect),
                                 CGRectGetMaxY(rect)};
  veltro::host::draw_pixels(*veltro::host::context_of(context), pixels, placement);
}

} // extern "C"
