#pragma once

#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>

#import <Foundation/Foundation.h>

/// How the pixels of an image must be turned to stand upright.
typedef NS_ENUM(NSInteger, UIImageOrientation) {
  UIImageOrientationUp,            ///< As they are.
  UIImageOrientationDown,          ///< By 180 degrees.
  UIImageOrientationLeft,          ///< By 90 degrees against the clock.
  UIImageOrientationRight,         ///< By 90 degrees with the clock.
  UIImageOrientationUpMirrored,    ///< Left and right changed.
  UIImageOrientationDownMirrored,  ///< Top and bottom changed.
  UIImageOrientationLeftMirrored,  ///< Rows and columns changed.
  UIImageOrientationRightMirrored, ///< Rows and columns changed, then by 180 degrees.
};

/// An image, which never changes and may be used on any thread.
@interface UIImage : NSObject {
  CGImageRef _CGImage;
  CGFloat _scale;
  UIImageOrientation _imageOrientation;
}

/// The image in `data`: PNG, JPEG and whatever else this system reads, upright as its metadata say.
/// Nil where `data` holds no whole image.
+ (UIImage *)imageWithData:(NSData *)data;
+ (UIImage *)imageWithData:(NSData *)data scale:(CGFloat)scale;
/// The image in the file; its scale is 2 or 3 where the name ends in @2x or @3x before the
/// extension.
+ (UIImage *)imageWithContentsOfFile:(NSString *)path;
+ (UIImage *)imageWithCGImage:(CGImageRef)image;
+ (UIImage *)imageWithCGImage:(CGImageRef)image
                        scale:(CGFloat)scale
                  orientation:(UIImageOrientation)orientation;

- (instancetype)initWithData:(NSData *)data;
- (instancetype)initWithData:(NSData *)data scale:(CGFloat)scale;
- (instancetype)initWithContentsOfFile:(NSString *)path;
- (instancetype)initWithCGImage:(CGImageRef)image;
/// Keeps `image`, which may be null: then the size is zero and nothing is drawn.
- (instancetype)initWithCGImage:(CGImageRef)image
                          scale:(CGFloat)scale
                    orientation:(UIImageOrientation)orientation;

/// In points, upright.
@property (nonatomic, readonly) CGSize size;
/// Pixels a point.
@property (nonatomic, readonly) CGFloat scale;
@property (nonatomic, readonly) UIImageOrientation imageOrientation;
/// The pixels, as they are stored. Lives as long as the image.
@property (nonatomic, readonly) CGImageRef CGImage;

// Draw upright into the current context; without one nothing happens.
- (void)drawAtPoint:(CGPoint)point;
/// Stretched to `rect`.
- (void)drawInRect:(CGRect)rect;
@end

#ifdef __cplusplus
extern "C" {
#endif

/// The pixels of `image` as they are stored, in PNG, which cannot say how to turn them
/// (autoreleased). Nil for nil.
NSData *UIImagePNGRepresentation(UIImage *image);
/// The image in JPEG, on white, with its orientation in the metadata (autoreleased). `quality` from
/// 0 (smallest) to 1 (best). Nil for nil.
NSData *UIImageJPEGRepresentation(UIImage *image, CGFloat quality);

#ifdef __cplusplus
}
#endif
