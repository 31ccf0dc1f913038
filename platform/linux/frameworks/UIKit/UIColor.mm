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
  return [self retain];
}

// A method has no parentheses around its name. NOLINTBEGIN(bugprone-macro-parentheses)
#define VH_GRAY(name, white, opacity)                                                              \
  +(UIColor *)name {                                                                               \
    return [self colorWithWhite:white alpha:opacity];                                              \
  }
#define VH_RGB(name, r, g, b)                                                                      \
  +(UIColor *)name {                                                                               \
    return [self colorWithRed:r green:g blue:b alpha:1];                                           \
  }
// NOLINTEND(bugprone-macro-parentheses)

VH_GRAY(blackColor, 0, 1)
VH_GRAY(darkGrayColor, 1.0 / 3, 1)
VH_GRAY(lightGrayColor, 2.0 / 3, 1)
VH_GRAY(whiteColor, 1, 1)
VH_GRAY(grayColor, 0.5, 1)
VH_GRAY(clearColor, 0, 0)
VH_RGB(redColor, 1, 0, 0)
VH_RGB(greenColor, 0, 1, 0)
VH_RGB(blueColor, 0, 0, 1)
VH_RGB(cyanColor, 0, 1, 1)
VH_RGB(yellowColor, 1, 1, 0)
VH_RGB(magentaColor, 1, 0, 1)
VH_RGB(orangeColor, 1, 0.5, 0)
VH_RGB(purpleColor, 0.5, 0, 0.5)
VH_RGB(brownColor, 0.6, 0.4, 0.2)

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
