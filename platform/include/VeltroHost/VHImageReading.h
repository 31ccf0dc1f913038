// What only Linux has: reading image files of unknown origin with the memory bounded and with
// reasons given. The library never calls these; tools and tests do.
#pragma once

#import <UIKit/UIImage.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The width and height of the stored image in pixels, read from the head of the file. Zero where
/// `data` holds no image, with the reason in `*problem` (autoreleased).
CGSize VHImageSize(NSData *data, NSString **problem);

/// The image in `data` at scale 1 (autoreleased); nil where it cannot be read, is truncated or has
/// more than `max_pixels` pixels, with the reason in `*problem` (autoreleased).
///
/// Where `least_side` is not 0, a JPEG may be read at a half, a quarter or an eighth of its size,
/// but with no side shorter than this many pixels.
UIImage *VHReadImage(NSData *data, NSUInteger max_pixels, NSUInteger least_side,
                     NSString **problem);

#ifdef __cplusplus
}
#endif
