// UIColor in gray and in RGB. Follows Apple's UIColor class reference; patterns, hue and the
// system's colours are left out.

#import <UIKit/UIColor.h>
#import <UIKit/UIGraphics.h>

#include <initializer_list>

namespace {

/// A colour that the caller owns.
CGColorRef create(std::initializer_list<CGFloat> components) {
  const CGColorSpaceRef space =
      components.size() == 2 ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  const CGColorRef color = CGColorCreate(space, components.begin());
  CGColorSpaceRelease(space);
  return color;
}

} // namespace

@implementation UIColor

+ (UIColor *)colorWithWhite:(CGFloat)white alpha:(CGFloat)alpha {
  return [[[self alloc] initWithWhite:white alpha:alpha] autorelease];
}

+ (UIColor *)colorWithRed:(CGFloat)red
                    green:(CGFloat)green
                     blue:(CGFloat)blue
                    alpha:(CGFloat)alpha {
  return [[[self alloc] initWithRed:red green:green blue:blue alpha:alpha] autorelease];
}

+ (UIColor *)colorWithCGColor:(CGColorRef)color {
  return [[[self alloc] initWithCGColor:color] autorelease];
}

- (instancetype)initWithWhite:(CGFloat)white alpha:(CGFloat)alpha {
  if ((self = [super init]) != nil)
    _color = create({white, alpha});
  return self;
}

- (instancetype)initWithRed:(CGFloat)red
                      green:(CGFloat)green
                       blue:(CGFloat)blue
                      alpha:(CGFloat)alpha {
  if ((self = [super init]) != nil)
    _color = create({red, green, blue, alpha});
  return self;
}

- (instancetype)initWithCGColor:(CGColorRef)color {
  if (color == nullptr) {
    [self release];
    return nil;
  }
  if ((self = [super init]) != nil)
    _color = CGColorRetain(color);
  return self;
}

- (void)dealloc {
  CGColorRelease(_color);
  [super dealloc];
}

- (id)copyWithZone:(NSZone *)zone {
  (void)zone;
  return [self retain];
}

+ (UIColor *)blackColor {
  return [self colorWithWhite:0 alpha:1];
}

+ (UIColor *)darkGrayColor {
  return [self colorWithWhite:1.0 / 3 alpha:1];
}

+ (UIColor *)lightGrayColor {
  return [self colorWithWhite:2.0 / 3 alpha:1];
}

+ (UIColor *)whiteColor {
  return [self colorWithWhite:1 alpha:1];
}

+ (UIColor *)grayColor {
  return [self colorWithWhite:0.5 alpha:1];
}

+ (UIColor *)clearColor {
  return [self colorWithWhite:0 alpha:0];
}

+ (UIColor *)redColor {
  return [self colorWithRed:1 green:0 blue:0 alpha:1];
}

+ (UIColor *)greenColor {
  return [self colorWithRed:0 green:1 blue:0 alpha:1];
}

+ (UIColor *)blueColor {
  return [self colorWithRed:0 green:0 blue:1 alpha:1];
}

+ (UIColor *)cyanColor {
  return [self colorWithRed:0 green:1 blue:1 alpha:1];
}

+ (UIColor *)yellowColor {
  return [self colorWithRed:1 green:1 blue:0 alpha:1];
}

+ (UIColor *)magentaColor {
  return [self colorWithRed:1 green:0 blue:1 alpha:1];
}

+ (UIColor *)orangeColor {
  return [self colorWithRed:1 green:0.5 blue:0 alpha:1];
}

+ (UIColor *)purpleColor {
  return [self colorWithRed:0.5 green:0 blue:0.5 alpha:1];
}

+ (UIColor *)brownColor {
  return [self colorWithRed:0.6 green:0.4 blue:0.2 alpha:1];
}

- (UIColor *)colorWithAlphaComponent:(CGFloat)alpha {
  const CGColorRef color = CGColorCreateCopyWithAlpha(_color, alpha);
  UIColor *const other = [UIColor colorWithCGColor:color];
  CGColorRelease(color);
  return other;
}

- (BOOL)getRed:(CGFloat *)red green:(CGFloat *)green blue:(CGFloat *)blue alpha:(CGFloat *)alpha {
  const CGFloat *const part = CGColorGetComponents(_color);
  const bool gray = CGColorGetNumberOfComponents(_color) == 2;
  if (red != nullptr)
    *red = part[0];
  if (green != nullptr)
    *green = part[gray ? 0 : 1];
  if (blue != nullptr)
    *blue = part[gray ? 0 : 2];
  if (alpha != nullptr)
    *alpha = CGColorGetAlpha(_color);
  return YES;
}

- (BOOL)getWhite:(CGFloat *)white alpha:(CGFloat *)alpha {
  if (CGColorGetNumberOfComponents(_color) != 2)
    return NO;
  if (white != nullptr)
    *white = CGColorGetComponents(_color)[0];
  if (alpha != nullptr)
    *alpha = CGColorGetAlpha(_color);
  return YES;
}

- (CGColorRef)CGColor {
  return _color;
}

- (BOOL)isEqual:(id)other {
  return [other isKindOfClass:[UIColor class]] && CGColorEqualToColor(_color, [other CGColor]);
}

- (NSUInteger)hash {
  return static_cast<NSUInteger>(CGColorGetComponents(_color)[0] * 255) * 257 +
         static_cast<NSUInteger>(CGColorGetAlpha(_color) * 255);
}

- (void)set {
  [self setFill];
  [self setStroke];
}

- (void)setFill {
  CGContextSetFillColorWithColor(UIGraphicsGetCurrentContext(), _color);
}

- (void)setStroke {
  CGContextSetStrokeColorWithColor(UIGraphicsGetCurrentContext(), _color);
}

@end
