// Bitmap images, which never change once made. They may be used on any thread.
#pragma once

#include <CoreGraphics/CGColor.h>
#include <CoreGraphics/CGDataProvider.h>
#include <CoreGraphics/CGGeometry.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGImage *CGImageRef;

typedef enum CGImageAlphaInfo : uint32_t {
  kCGImageAlphaNone = 0,
  kCGImageAlphaPremultipliedLast = 1,
  kCGImageAlphaPremultipliedFirst = 2,
  kCGImageAlphaLast = 3,
  kCGImageAlphaFirst = 4,
  kCGImageAlphaNoneSkipLast = 5,
  kCGImageAlphaNoneSkipFirst = 6,
} CGImageAlphaInfo;

/// A CGImageAlphaInfo together with the order of the bytes.
typedef uint32_t CGBitmapInfo;
enum : uint32_t {
  kCGBitmapAlphaInfoMask = 0x1F,
  kCGBitmapByteOrderMask = 0x7000,
  kCGBitmapByteOrderDefault = 0 << 12,
  kCGBitmapByteOrder32Little = 2 << 12,
  kCGBitmapByteOrder32Big = 4 << 12,
};

typedef enum CGColorRenderingIntent : int32_t {
  kCGRenderingIntentDefault = 0,
} CGColorRenderingIntent;

/// An image of bytes of one's own: 8 bits a component and 32 a pixel in RGB, with any alpha
/// information but `kCGImageAlphaNone`, or 8 bits a pixel in gray without alpha. The bytes are
/// converted at once. Null for any other format, for a size without pixels and where there are too
/// few bytes; `decode` and `intent` are not looked at. The caller owns the image.
CGImageRef CGImageCreate(size_t width, size_t height, size_t bits_per_component,
                         size_t bits_per_pixel, size_t bytes_per_row, CGColorSpaceRef space,
                         CGBitmapInfo bitmap_info, CGDataProviderRef provider,
                         const CGFloat *decode, bool should_interpolate,
                         CGColorRenderingIntent intent);
CGImageRef CGImageRetain(CGImageRef image);
void CGImageRelease(CGImageRef image);

// Sizes in pixels; 0 for null.
size_t CGImageGetWidth(CGImageRef image);
size_t CGImageGetHeight(CGImageRef image);
size_t CGImageGetBitsPerComponent(CGImageRef image);
size_t CGImageGetBitsPerPixel(CGImageRef image);
size_t CGImageGetBytesPerRow(CGImageRef image);
/// Premultiplied with alpha first, or without alpha where the image has none.
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image);
/// Lives as long as the image.
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
/// The pixels, from the top row down, as `CGImageGetBitmapInfo` says. Lives as long as the image.
CGDataProviderRef CGImageGetDataProvider(CGImageRef image);

#ifdef __cplusplus
}
#endif
