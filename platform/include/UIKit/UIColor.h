#pragma once

#include <CoreGraphics/CGColor.h>

#import <Foundation/Foundation.h>

/// A colour, which never changes. Components run from 0 to 1; others are taken into that range.
@interface UIColor : NSObject <NSCopying> {
  CGColorRef _color;
}
+ (UIColor *)colorWithWhite:(CGFloat)white alpha:(CGFloat)alpha;
+ (UIColor *)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;
+ (UIColor *)colorWithCGColor:(CGColorRef)color;
- (instancetype)initWithWhite:(CGFloat)white alpha:(CGFloat)alpha;
- (instancetype)initWithRed:(CGFloat)red
                      green:(CGFloat)green
                       blue:(CGFloat)blue
                      alpha:(CGFloat)alpha;
/// Keeps `color`; nil for null.
- (instancetype)initWithCGColor:(CGColorRef)color;

// In gray, as on the device:
+ (UIColor *)blackColor;
+ (UIColor *)darkGrayColor;
+ (UIColor *)lightGrayColor;
+ (UIColor *)whiteColor;
+ (UIColor *)grayColor;
+ (UIColor *)clearColor;
// In red, green and blue:
+ (UIColor *)redColor;
+ (UIColor *)greenColor;
+ (UIColor *)blueColor;
+ (UIColor *)cyanColor;
+ (UIColor *)yellowColor;
+ (UIColor *)magentaColor;
+ (UIColor *)orangeColor;
+ (UIColor *)purpleColor;
+ (UIColor *)brownColor;

/// The same colour with another alpha.
- (UIColor *)colorWithAlphaComponent:(CGFloat)alpha;

/// The colour in red, green and blue; each pointer may be null. Always YES.
- (BOOL)getRed:(CGFloat *)red green:(CGFloat *)green blue:(CGFloat *)blue alpha:(CGFloat *)alpha;
/// The colour in gray; each pointer may be null. NO, and nothing written, for a colour in red,
/// green and blue.
- (BOOL)getWhite:(CGFloat *)white alpha:(CGFloat *)alpha;
/// Lives as long as the colour.
@property (nonatomic, readonly) CGColorRef CGColor;

// The colour of what the current context fills and strokes from now on.
- (void)set;
- (void)setFill;
- (void)setStroke;
@end
