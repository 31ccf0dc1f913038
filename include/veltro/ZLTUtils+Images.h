#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <UIKit/UIImage.h>
#import <veltro/ZLTUtils.h>

/// Pictures. May be called on any thread.
@interface ZLTUtils (Images)

/// `image` stretched to `width` x `height` points and clipped to a circle, as a new image at the
/// main screen's scale. Outside the circle it is transparent.
///
/// The aspect ratio of `image` is not kept. The circle is centred, and its radius is half of
/// `width` even where `height` differs: with a greater width it is cut off at the top and the
/// bottom, with a smaller width it leaves bands above and below it empty.
///
/// The image context it draws in lives on the calling thread's stack and is gone when it returns.
/// @param image The picture; may be nil.
/// @param width The width in points, more than 0.
/// @param height The height in points, more than 0.
/// @return The image, autoreleased; nil for a nil `image`, and where the platform has no image of
/// such a size: zero, negative or more than it can hold.
+ (UIImage *)roundedImage:(UIImage *)image width:(float)width height:(float)height;

@end

#endif
