// UIImage over a CGImage, and its files. Follows Apple's UIImage class reference; named, animated,
// stretchable and Core Image images, rendering modes and trait collections are left out.

#import <UIKit/UIGraphics.h>

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/UIKit/image_file.h"

#include <algorithm>
#include <array>

using veltro::host::Pixels;
using veltro::host::pixels_of;

namespace {

struct Turn {
  UIImageOrientation orientation;
  /// Where the unit square of the stored pixels lies in the unit square of the upright image.
  cairo_matrix_t upright;
};

/// In the order in which image files number them, from 1.
constexpr std::array<Turn, 8> kTurns{{
    {UIImageOrientationUp, {1, 0, 0, 1, 0, 0}},
    {UIImageOrientationUpMirrored, {-1, 0, 0, 1, 1, 0}},
    {UIImageOrientationDown, {-1, 0, 0, -1, 1, 1}},
    {UIImageOrientationDownMirrored, {1, 0, 0, -1, 0, 1}},
    {UIImageOrientationLeftMirrored, {0, 1, 1, 0, 0, 0}},
    {UIImageOrientationRight, {0, 1, -1, 0, 1, 0}},
    {UIImageOrientationRightMirrored, {0, -1, -1, 0, 1, 1}},
    {UIImageOrientationLeft, {0, -1, 1, 0, 0, 1}},
}};

/// The first for what is no orientation.
const Turn *turn_of(UIImageOrientation orientation) {
  const auto *const turn = std::ranges::find(kTurns, orientation, &Turn::orientation);
  return turn != kTurns.end() ? turn : kTurns.begin();
}

/// 2 and 3 for a name that ends in @2x and @3x before its extension.
CGFloat scale_in_name(NSString *path) {
  NSString *const name = [path stringByDeletingPathExtension];
  return [name hasSuffix:@"@2x"] ? 2 : [name hasSuffix:@"@3x"] ? 3 : 1;
}

NSData *data_of(const std::vector<std::uint8_t> &file) {
  return file.empty() ? nil : [NSData dataWithBytes:file.data() length:file.size()];
}

} // namespace

@implementation UIImage

@synthesize scale = _scale;
@synthesize imageOrientation = _imageOrientation;
@synthesize CGImage = _CGImage;

+ (UIImage *)imageWithData:(NSData *)data {
  return [[[self alloc] initWithData:data] autorelease];
}

+ (UIImage *)imageWithData:(NSData *)data scale:(CGFloat)scale {
  return [[[self alloc] initWithData:data scale:scale] autorelease];
}

+ (UIImage *)imageWithContentsOfFile:(NSString *)path {
  return [[[self alloc] initWithContentsOfFile:path] autorelease];
}

+ (UIImage *)imageWithCGImage:(CGImageRef)image {
  return [[[self alloc] initWithCGImage:image] autorelease];
}

+ (UIImage *)imageWithCGImage:(CGImageRef)image
                        scale:(CGFloat)scale
                  orientation:(UIImageOrientation)orientation {
  return [[[self alloc] initWithCGImage:image scale:scale orientation:orientation] autorelease];
}

- (instancetype)initWithData:(NSData *)data {
  return [self initWithData:data scale:1];
}

- (instancetype)initWithData:(NSData *)data scale:(CGFloat)scale {
  const auto *const bytes = static_cast<const std::uint8_t *>([data bytes]);
  return [self initWithFile:veltro::host::read_image({bytes, [data length]}, {}) scale:scale];
}

- (instancetype)initWithFile:(const veltro::host::ImageFile &)file scale:(CGFloat)scale {
  if (file.pixels == nullptr) {
    [self release];
    return nil;
  }
  const CGImageRef image = veltro::host::create_image(file.pixels);
  self =
      [self initWithCGImage:image
                      scale:scale
                orientation:kTurns.at(static_cast<std::size_t>(file.orientation - 1)).orientation];
  CGImageRelease(image);
  return self;
}

- (instancetype)initWithContentsOfFile:(NSString *)path {
  return [self initWithData:[NSData dataWithContentsOfFile:path] scale:scale_in_name(path)];
}

- (instancetype)initWithCGImage:(CGImageRef)image {
  return [self initWithCGImage:image scale:1 orientation:UIImageOrientationUp];
}

- (instancetype)initWithCGImage:(CGImageRef)image
                          scale:(CGFloat)scale
                    orientation:(UIImageOrientation)orientation {
  if ((self = [super init]) != nil) {
    _CGImage = CGImageRetain(image);
    _scale = scale > 0 ? scale : 1;
    _imageOrientation = orientation;
  }
  return self;
}

- (void)dealloc {
  CGImageRelease(_CGImage);
  [super dealloc];
}

- (CGSize)size {
  const auto width = static_cast<CGFloat>(CGImageGetWidth(_CGImage)) / _scale;
  const auto height = static_cast<CGFloat>(CGImageGetHeight(_CGImage)) / _scale;
  const bool sideways = turn_of(_imageOrientation)->upright.xx == 0;
  return sideways ? CGSizeMake(height, width) : CGSizeMake(width, height);
}

- (void)drawAtPoint:(CGPoint)point {
  [self drawInRect:{point, [self size]}];
}

- (void)drawInRect:(CGRect)rect {
  const CGContextRef context = UIGraphicsGetCurrentContext();
  if (context == nullptr || _CGImage == nullptr || CGRectIsEmpty(rect))
    return;
  cairo_matrix_t placement{CGRectGetWidth(rect), 0, 0, CGRectGetHeight(rect), CGRectGetMinX(rect),
                           CGRectGetMinY(rect)};
  cairo_matrix_multiply(&placement, &turn_of(_imageOrientation)->upright, &placement);
  veltro::host::draw_pixels(*veltro::host::context_of(context), *pixels_of(_CGImage), placement);
}

@end

extern "C" {

NSData *UIImagePNGRepresentation(UIImage *image) {
  const Pixels *const pixels = pixels_of([image CGImage]);
  return pixels != nullptr ? data_of(veltro::host::write_png(*pixels)) : nil;
}

NSData *UIImageJPEGRepresentation(UIImage *image, CGFloat quality) {
  const Pixels *const pixels = pixels_of([image CGImage]);
  if (pixels == nullptr)
    return nil;
  const auto index = turn_of([image imageOrientation]) - kTurns.begin();
  return data_of(veltro::host::write_jpeg(*pixels, quality, static_cast<int>(index) + 1));
}

} // extern "C"
