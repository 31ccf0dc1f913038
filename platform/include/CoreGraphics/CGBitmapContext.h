// Contexts that draw into a bitmap of one's own.
#pragma once

#include <CoreGraphics/CGContext.h>

#ifdef __cplusplus
extern "C" {
#endif

/// A context of `width` x `height` pixels in RGB, 8 bits a component, premultiplied or without
/// alpha, little-endian with alpha first or big-endian with alpha last. It draws into `data`, whose
/// rows are `bytes_per_row` (a multiple of 4) apart, or, where `data` is null, into memory of its
/// own. Null for any other format and for sizes without pixels or beyond 32767. The caller owns it.
CGContextRef CGBitmapContextCreate(void *data, size_t width, size_t height,
                                   size_t bits_per_component, size_t bytes_per_row,
                                   CGColorSpaceRef space, CGBitmapInfo bitmap_info);
/// The pixels, from the top row down.
void *CGBitmapContextGetData(CGContextRef context);
size_t CGBitmapContextGetWidth(CGContextRef context);
size_t CGBitmapContextGetHeight(CGContextRef context);
size_t CGBitmapContextGetBytesPerRow(CGContextRef context);
CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context);
/// A copy of what is drawn so far. The caller owns it.
CGImageRef CGBitmapContextCreateImage(CGContextRef context);

#ifdef __cplusplus
}
#endif
