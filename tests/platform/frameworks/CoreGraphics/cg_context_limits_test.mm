// Numbers that cairo cannot count: they take no time, and the context can be drawn in after them.
#include "support/pixels.hpp"

#import <QuartzCore/QuartzCore.h>
#import <UIKit/UIKit.h>

#include <CoreGraphics/CoreGraphics.h>

#include <gtest/gtest.h>

namespace {

using veltro::test::Picture;
using veltro::test::Pixel;

constexpr Pixel kBlack{0, 0, 0, 255};

template <typename Draw> void expect_usable_after(Draw &&draw) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(1, 1), NO, 1);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  CGContextSaveGState(context);
  draw(context);
  CGContextRestoreGState(context);
  CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(Picture(image).at(0, 0), kBlack);
}

TEST(CGContextLimits, Arcs) {
  for (const double radius : {1e-300, 1e40, 1e300})
    expect_usable_after(
        [=](CGContextRef context) { CGContextAddArc(context, 0, 0, radius, 0, 1, 0); });
  for (const double angle : {-1e300, 1e300})
    expect_usable_after([=](CGContextRef context) {
      CGContextAddArc(context, 0, 0, 1, 0, angle, 0);
      CGContextAddArc(context, 0, 0, 1, angle, 0, 1);
    });
}

TEST(CGContextLimits, Ellipses) {
  for (const double width : {1e-310, 1e-200, 1e40, 1e300})
    for (const double height : {1e-310, 1e-200, 1.0, 1e40, 1e300})
      expect_usable_after([=](CGContextRef context) {
        CGContextFillEllipseInRect(context, CGRectMake(0, 0, width, height));
        CGContextFillEllipseInRect(context, CGRectMake(0, 0, -height, width));
      });
}

TEST(CGContextLimits, Scales) {
  for (const double x : {1e-310, 1e-200, 1e40, 1e300})
    for (const double y : {1e-310, 1e-200, 1.0, 1e40, 1e300})
      expect_usable_after([=](CGContextRef context) {
        CGContextScaleCTM(context, x, y);
        CGContextAddArc(context, 0, 0, 1, 0, 1, 0);
        CGContextFillPath(context);
        CGContextFillEllipseInRect(context, CGRectMake(0, 0, 1, 1));
      });
}

TEST(CGContextLimits, SmallScalesKeepThePath) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(1, 1), NO, 1);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  UIImage *const clear = UIGraphicsGetImageFromCurrentImageContext();
  CGContextAddRect(context, CGRectMake(0, 0, 1, 1));
  CGContextSaveGState(context);
  CGContextScaleCTM(context, 1e-310, 1e9);
  CGContextDrawImage(context, CGRectMake(0, 0, 1, 1), [clear CGImage]);
  CGContextRestoreGState(context);
  CGContextFillPath(context);
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(Picture(image).at(0, 0), kBlack);
}

TEST(CGContextLimits, RoundedCorners) {
  for (const double side : {1e-200, 1e40, 1e300})
    expect_usable_after([=](CGContextRef context) {
      UIView *const view =
          [[[UIView alloc] initWithFrame:CGRectMake(0, 0, side, side)] autorelease];
      [view setBackgroundColor:[UIColor blackColor]];
      [[view layer] setCornerRadius:side];
      [[view layer] renderInContext:context];
    });
}

TEST(CGContextLimits, RectanglesOfAnySizeFillAndClip) {
  const CGRect great = CGRectMake(-1e9, -1e9, 2e9, 2e9);
  expect_usable_after([=](CGContextRef context) { CGContextClipToRect(context, great); });
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(1, 1), NO, 1);
  CGContextClipToRect(UIGraphicsGetCurrentContext(), great);
  CGContextFillRect(UIGraphicsGetCurrentContext(), great);
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(Picture(image).at(0, 0), kBlack);
}

} // namespace
