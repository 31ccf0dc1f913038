#include "support/pixels.hpp"

#import <UIKit/UIKit.h>

#include <CoreGraphics/CoreGraphics.h>

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using veltro::test::difference;
using veltro::test::Picture;
using veltro::test::Pixel;

constexpr Pixel kClear{0, 0, 0, 0};
constexpr Pixel kRed{255, 0, 0, 255};
constexpr Pixel kGreen{0, 255, 0, 255};

/// Draws into an image context of one pixel a point.
template <typename Draw> Picture drawn(CGFloat width, CGFloat height, Draw &&draw) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(width, height), NO, 1);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  CGContextSetRGBFillColor(context, 1, 0, 0, 1);
  draw(context);
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return Picture(image);
}

/// How much of the pixel at (x, y) lies in the circle, by counting points.
double coverage(double x, double y, double center_x, double center_y, double radius) {
  constexpr int kSteps = 32;
  int inside = 0;
  for (int row = 0; row < kSteps; ++row)
    for (int column = 0; column < kSteps; ++column)
      if (std::hypot(x + (column + 0.5) / kSteps - center_x, y + (row + 0.5) / kSteps - center_y) <=
          radius)
        ++inside;
  return static_cast<double>(inside) / (kSteps * kSteps);
}

TEST(CGContext, FillsRectanglesFromTheTopLeftInAnImageContext) {
  const Picture picture =
      drawn(4, 3, [](CGContextRef context) { CGContextFillRect(context, CGRectMake(1, 0, 2, 1)); });
  for (std::size_t y = 0; y < 3; ++y)
    for (std::size_t x = 0; x < 4; ++x)
      EXPECT_EQ(picture.at(x, y), y == 0 && (x == 1 || x == 2) ? kRed : kClear) << x << ", " << y;
}

TEST(CGContext, FillsPartsOfPixels) {
  const Picture picture = drawn(
      2, 1, [](CGContextRef context) { CGContextFillRect(context, CGRectMake(0, 0, 1.25, 1)); });
  EXPECT_EQ(picture.at(0, 0), kRed);
  EXPECT_LE(difference(picture.at(1, 0), {64, 0, 0, 64}), 2);
}

TEST(CGContext, FillsAnArcAsTheCircleThatItIs) {
  const Picture picture = drawn(50, 50, [](CGContextRef context) {
    CGContextBeginPath(context);
    CGContextAddArc(context, 25, 25, 25, 0, 6.283185307179586, 0);
    CGContextClosePath(context);
    CGContextFillPath(context);
  });
  for (std::size_t y = 0; y < 50; ++y)
    for (std::size_t x = 0; x < 50; ++x)
      EXPECT_NEAR(picture.at(x, y).alpha,
                  255 * coverage(static_cast<double>(x), static_cast<double>(y), 25, 25, 25), 6)
          << x << ", " << y;
}

/// The quarters of a 20 x 20 picture that are filled: bit 0 top left, 1 top right, 2 bottom left,
/// 3 bottom right.
int quarters(const Picture &picture) {
  int filled = 0;
  filled |= picture.at(6, 6).alpha == 255 ? 1 : 0;
  filled |= picture.at(13, 6).alpha == 255 ? 2 : 0;
  filled |= picture.at(6, 13).alpha == 255 ? 4 : 0;
  filled |= picture.at(13, 13).alpha == 255 ? 8 : 0;
  return filled;
}

Picture sector(double from, double to, int clockwise) {
  return drawn(20, 20, [=](CGContextRef context) {
    CGContextMoveToPoint(context, 10, 10);
    CGContextAddArc(context, 10, 10, 10, from, to, clockwise);
    CGContextClosePath(context);
    CGContextFillPath(context);
  });
}

TEST(CGContext, SweepsWithRisingAngleUnlessClockwise) {
  // With y downwards a quarter of a turn from the x axis ends at the bottom.
  EXPECT_EQ(quarters(sector(0, M_PI_2, 0)), 8);
  EXPECT_EQ(quarters(sector(0, M_PI_2, 1)), 1 + 2 + 4);
  EXPECT_EQ(quarters(sector(M_PI_2, 0, 0)), 1 + 2 + 4);
  EXPECT_EQ(quarters(sector(M_PI_2, 0, 1)), 8);
}

TEST(CGContext, ClipsToThePathAndDropsIt) {
  const Picture picture = drawn(4, 4, [](CGContextRef context) {
    CGContextAddRect(context, CGRectMake(1, 1, 2, 2));
    CGContextClip(context);
    EXPECT_TRUE(CGContextIsPathEmpty(context));
    CGContextFillRect(context, CGRectMake(0, 0, 4, 4));
  });
  for (std::size_t y = 0; y < 4; ++y)
    for (std::size_t x = 0; x < 4; ++x)
      EXPECT_EQ(picture.at(x, y), x % 3 != 0 && y % 3 != 0 ? kRed : kClear) << x << ", " << y;
}

TEST(CGContext, RestoresClipTransformAndColours) {
  const Picture picture = drawn(4, 1, [](CGContextRef context) {
    CGContextSaveGState(context);
    CGContextSetRGBFillColor(context, 0, 1, 0, 1);
    CGContextTranslateCTM(context, 2, 0);
    CGContextClipToRect(context, CGRectMake(0, 0, 1, 1));
    CGContextFillRect(context, CGRectMake(-2, 0, 4, 1));
    CGContextRestoreGState(context);
    CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
    CGContextRestoreGState(context);
    CGContextFillRect(context, CGRectMake(3, 0, 1, 1));
  });
  EXPECT_EQ(picture.at(0, 0), kRed);
  EXPECT_EQ(picture.at(1, 0), kClear);
  EXPECT_EQ(picture.at(2, 0), kGreen);
  EXPECT_EQ(picture.at(3, 0), kRed);
}

TEST(CGContext, DrawsNothingThroughATransformWithoutInverse) {
  const double nothing = 0;
  const double infinite = std::numeric_limits<double>::infinity();
  for (const double scale : {nothing, infinite, std::nan("")}) {
    const Picture picture = drawn(2, 1, [=](CGContextRef context) {
      CGContextSaveGState(context);
      CGContextScaleCTM(context, scale, 1);
      CGContextFillRect(context, CGRectMake(0, 0, 2, 1));
      CGContextAddArc(context, 0, 0, 1, 0, 1, 0);
      CGContextClip(context);
      CGContextScaleCTM(context, 1, 1);
      CGContextStrokeRect(context, CGRectMake(0, 0, 2, 1));
      CGContextRestoreGState(context);
      CGContextFillRect(context, CGRectMake(1, 0, 1, 1));
    });
    EXPECT_EQ(picture.at(0, 0), kClear);
    EXPECT_EQ(picture.at(1, 0), kRed);
  }
}

TEST(CGContext, TakesNull) {
  CGContextBeginPath(nullptr);
  CGContextAddArc(nullptr, 1, 1, 1, 0, 1, 0);
  CGContextClosePath(nullptr);
  CGContextClip(nullptr);
  CGContextScaleCTM(nullptr, 2, 2);
  CGContextSaveGState(nullptr);
  CGContextRestoreGState(nullptr);
  CGContextFillRect(nullptr, CGRectMake(0, 0, 1, 1));
  CGContextDrawImage(nullptr, CGRectMake(0, 0, 1, 1), nullptr);
  EXPECT_TRUE(CGContextIsPathEmpty(nullptr));
}

TEST(CGContext, KeepsAnImageThatWasTakenWhenItContinues) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(1, 1), NO, 1);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  CGContextSetRGBFillColor(context, 1, 0, 0, 1);
  CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
  UIImage *const before = UIGraphicsGetImageFromCurrentImageContext();
  UIImage *const again = UIGraphicsGetImageFromCurrentImageContext();
  CGContextSetRGBFillColor(context, 0, 1, 0, 1);
  CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
  UIImage *const after = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(Picture(before).at(0, 0), kRed);
  EXPECT_EQ(Picture(again).at(0, 0), kRed);
  EXPECT_EQ(Picture(after).at(0, 0), kGreen);
}

TEST(CGContext, TellsItsTransformFromTheBottomOfTheBitmap) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(10, 20), NO, 2);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  EXPECT_TRUE(CGAffineTransformEqualToTransform(CGContextGetCTM(context),
                                                CGAffineTransformMake(2, 0, 0, -2, 0, 40)));
  CGContextTranslateCTM(context, 3, 4);
  CGContextScaleCTM(context, 5, 6);
  EXPECT_TRUE(CGAffineTransformEqualToTransform(CGContextGetCTM(context),
                                                CGAffineTransformMake(10, 0, 0, -12, 6, 32)));
  UIGraphicsEndImageContext();
  EXPECT_TRUE(CGAffineTransformEqualToTransform(CGContextGetCTM(nullptr), CGAffineTransform{}));
}

TEST(CGContext, RotatesFromXTowardsY) {
  const Picture picture = drawn(3, 3, [](CGContextRef context) {
    CGContextTranslateCTM(context, 1, 1);
    CGContextRotateCTM(context, M_PI_2);
    CGContextFillRect(context, CGRectMake(1, -1, 1, 1));
  });
  EXPECT_EQ(picture.at(1, 2), kRed);
  EXPECT_EQ(picture.at(2, 0), kClear);
}

TEST(CGContext, FillsByBothRules) {
  const auto rings = [](void (*paint)(CGContextRef)) {
    return drawn(6, 6, [=](CGContextRef context) {
      CGContextAddRect(context, CGRectMake(0, 0, 6, 6));
      CGContextAddRect(context, CGRectMake(2, 2, 2, 2));
      paint(context);
      CGContextFillRect(context, CGRectMake(0, 0, 6, 1));
    });
  };
  EXPECT_EQ(rings(CGContextFillPath).at(3, 3), kRed);
  EXPECT_EQ(rings(CGContextEOFillPath).at(3, 3), kClear);
  EXPECT_EQ(rings(CGContextEOFillPath).at(1, 1), kRed);
  // A clip shows in what is drawn after it.
  EXPECT_EQ(rings(CGContextClip).at(3, 3), kClear);
  EXPECT_EQ(rings(CGContextEOClip).at(3, 0), kRed);
}

TEST(CGContext, DrawsLinesAndCurves) {
  const Picture picture = drawn(10, 10, [](CGContextRef context) {
    CGContextMoveToPoint(context, 0, 0);
    CGContextAddLineToPoint(context, 10, 0);
    CGContextAddCurveToPoint(context, 10, 5, 10, 5, 10, 10);
    CGContextClosePath(context);
    EXPECT_FALSE(CGContextIsPathEmpty(context));
    const CGRect box = CGContextGetPathBoundingBox(context);
    EXPECT_NEAR(box.size.width, 10, 0.01);
    EXPECT_NEAR(box.size.height, 10, 0.01);
    CGContextFillPath(context);
    EXPECT_TRUE(CGRectIsNull(CGContextGetPathBoundingBox(context)));
  });
  EXPECT_EQ(picture.at(8, 2), kRed);
  EXPECT_EQ(picture.at(2, 8), kClear);
}

TEST(CGContext, FillsEllipses) {
  const auto filled = [](void (*draw)(CGContextRef)) { return drawn(20, 10, draw); };
  const Picture added = filled([](CGContextRef context) {
    CGContextAddEllipseInRect(context, CGRectMake(0, 0, 20, 10));
    CGContextFillPath(context);
  });
  const Picture direct = filled(
      [](CGContextRef context) { CGContextFillEllipseInRect(context, CGRectMake(0, 0, 20, 10)); });
  for (const Picture *picture : {&added, &direct}) {
    EXPECT_EQ(picture->at(10, 5), kRed);
    EXPECT_EQ(picture->at(1, 5), kRed);
    EXPECT_EQ(picture->at(0, 0), kClear);
    EXPECT_EQ(picture->at(19, 9), kClear);
  }
  EXPECT_EQ(filled([](CGContextRef context) {
              CGContextFillEllipseInRect(context, CGRectMake(0, 0, 0, 10));
              CGContextFillEllipseInRect(context, CGRectNull);
            }).at(0, 5),
            kClear);
}

TEST(CGContext, AddsEllipsesOfNegativeSizesAsTheyStand) {
  // One within the other, swept the same way: by the winding rule there is no hole.
  const Picture picture = drawn(20, 20, [](CGContextRef context) {
    CGContextAddEllipseInRect(context, CGRectMake(0, 0, 20, 20));
    CGContextAddEllipseInRect(context, CGRectMake(15, 5, -10, 10));
    CGContextFillPath(context);
  });
  EXPECT_EQ(picture.at(10, 10), kRed);
}

TEST(CGContext, StrokesWithItsOwnColour) {
  const Picture picture = drawn(10, 10, [](CGContextRef context) {
    CGContextSetRGBStrokeColor(context, 0, 1, 0, 1);
    CGContextSetLineWidth(context, 2);
    CGContextSetLineWidth(context, -3);
    CGContextStrokeRect(context, CGRectMake(1, 1, 8, 8));
  });
  EXPECT_EQ(picture.at(0, 5), kGreen);
  EXPECT_EQ(picture.at(1, 5), kGreen);
  EXPECT_EQ(picture.at(2, 5), kClear);
  EXPECT_EQ(picture.at(5, 9), kGreen);
  const Picture ellipse = drawn(10, 10, [](CGContextRef context) {
    CGContextSetGrayStrokeColor(context, 1, 1);
    CGContextStrokeEllipseInRect(context, CGRectMake(0.5, 0.5, 9, 9));
  });
  EXPECT_EQ(ellipse.at(5, 5), kClear);
  EXPECT_GT(ellipse.at(5, 0).green, 200);
}

TEST(CGContext, EndsAndJoinsLinesAsAsked) {
  const auto line = [](CGLineCap cap) {
    return drawn(12, 6, [=](CGContextRef context) {
      CGContextSetStrokeColorWithColor(context, [[UIColor redColor] CGColor]);
      CGContextSetLineWidth(context, 4);
      CGContextSetLineCap(context, cap);
      CGContextMoveToPoint(context, 4, 3);
      CGContextAddLineToPoint(context, 8, 3);
      CGContextStrokePath(context);
    });
  };
  EXPECT_EQ(line(kCGLineCapButt).at(3, 3), kClear);
  EXPECT_EQ(line(kCGLineCapSquare).at(2, 1), kRed);
  EXPECT_EQ(line(kCGLineCapRound).at(3, 3), kRed);
  EXPECT_NE(line(kCGLineCapRound).at(2, 1), kRed);
  const auto corner = [](CGLineJoin join) {
    return drawn(10, 10,
                 [=](CGContextRef context) {
                   CGContextSetGrayStrokeColor(context, 1, 1);
                   CGContextSetLineWidth(context, 4);
                   CGContextSetLineJoin(context, join);
                   CGContextMoveToPoint(context, 2, 10);
                   CGContextAddLineToPoint(context, 2, 2);
                   CGContextAddLineToPoint(context, 10, 2);
                   CGContextStrokePath(context);
                 })
        .at(0, 0)
        .alpha;
  };
  EXPECT_EQ(corner(kCGLineJoinMiter), 255);
  EXPECT_EQ(corner(kCGLineJoinBevel), 0);
  EXPECT_LT(corner(kCGLineJoinRound), 255);
}

TEST(CGContext, BlendsAsAsked) {
  const Picture picture = drawn(4, 1, [](CGContextRef context) {
    CGContextFillRect(context, CGRectMake(0, 0, 4, 1));
    CGContextSetFillColorWithColor(context, [[UIColor clearColor] CGColor]);
    CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
    CGContextSetBlendMode(context, kCGBlendModeCopy);
    CGContextFillRect(context, CGRectMake(1, 0, 1, 1));
    CGContextSetBlendMode(context, kCGBlendModeClear);
    CGContextSetGrayFillColor(context, 1, 1);
    CGContextFillRect(context, CGRectMake(2, 0, 1, 1));
    CGContextSetBlendMode(context, kCGBlendModeNormal);
    CGContextClearRect(context, CGRectMake(3, 0, 0.5, 1));
    CGContextSetFillColorWithColor(context, nullptr);
    CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
  });
  EXPECT_EQ(picture.at(0, 0), kRed);
  EXPECT_EQ(picture.at(1, 0), kClear);
  EXPECT_EQ(picture.at(2, 0), kClear);
  EXPECT_NEAR(picture.at(3, 0).alpha, 128, 2);
}

TEST(CGContext, WeakensByItsAlpha) {
  const Picture picture = drawn(1, 1, [](CGContextRef context) {
    CGContextSetAlpha(context, 0.5);
    CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
  });
  EXPECT_LE(difference(picture.at(0, 0), {128, 0, 0, 128}), 1);
}

TEST(CGContext, AntialiasesUnlessTold) {
  const Picture picture = drawn(2, 1, [](CGContextRef context) {
    CGContextSetShouldAntialias(context, false);
    CGContextFillRect(context, CGRectMake(0, 0, 1.75, 1));
  });
  EXPECT_EQ(picture.at(1, 0), kRed);
}

TEST(CGContext, InterpolatesAsAsked) {
  Picture two(2, 1);
  two.set(0, 0, {0, 0, 0, 255});
  two.set(1, 0, {255, 255, 255, 255});
  const auto grays = [&](CGInterpolationQuality quality) {
    const Picture picture = drawn(8, 1, [&](CGContextRef context) {
      CGContextSetInterpolationQuality(context, quality);
      [two.image() drawInRect:CGRectMake(0, 0, 8, 1)];
    });
    int between = 0;
    for (std::size_t x = 0; x < 8; ++x)
      between += picture.at(x, 0).red > 5 && picture.at(x, 0).red < 250 ? 1 : 0;
    return between;
  };
  EXPECT_EQ(grays(kCGInterpolationNone), 0);
  EXPECT_GE(grays(kCGInterpolationLow), 2);
  EXPECT_GE(grays(kCGInterpolationMedium), 2);
  EXPECT_GE(grays(kCGInterpolationDefault), 2);
  EXPECT_GE(grays(kCGInterpolationHigh), 1);
}

TEST(CGContext, TellsTheBoxOfItsClip) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(10, 20), NO, 2);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  EXPECT_TRUE(CGRectEqualToRect(CGContextGetClipBoundingBox(context), CGRectMake(0, 0, 10, 20)));
  CGContextClipToRect(context, CGRectMake(1, 2, 3, 4));
  EXPECT_TRUE(CGRectEqualToRect(CGContextGetClipBoundingBox(context), CGRectMake(1, 2, 3, 4)));
  UIGraphicsEndImageContext();
  EXPECT_TRUE(CGRectEqualToRect(CGContextGetClipBoundingBox(nullptr), CGRectZero));
}

TEST(CGContext, KeepsThePathWhileAnImageIsDrawn) {
  Picture one(1, 1);
  one.set(0, 0, {0, 255, 0, 255});
  const Picture picture = drawn(3, 1, [&](CGContextRef context) {
    CGContextAddRect(context, CGRectMake(0, 0, 1, 1));
    [one.image() drawInRect:CGRectMake(1, 0, 1, 1)];
    CGContextFillPath(context);
  });
  EXPECT_EQ(picture.at(0, 0), kRed);
  EXPECT_EQ(picture.at(1, 0), kGreen);
  EXPECT_EQ(picture.at(2, 0), kClear);
}

TEST(CGContext, LeavesOutWhatIsNoNumber) {
  const double no_number = std::nan("");
  const Picture picture = drawn(2, 1, [=](CGContextRef context) {
    CGContextMoveToPoint(context, no_number, 0);
    CGContextAddLineToPoint(context, no_number, 0);
    CGContextAddCurveToPoint(context, 0, 0, 0, 0, 0, no_number);
    CGContextAddArc(context, 0, 0, 1, 0, no_number, 0);
    CGContextAddArc(context, 0, 0, -1, 0, 1, 0);
    CGContextAddRect(context, CGRectNull);
    EXPECT_TRUE(CGContextIsPathEmpty(context));
    CGContextFillRect(context, CGRectMake(1, 0, 1, 1));
  });
  EXPECT_EQ(picture.at(0, 0), kClear);
  EXPECT_EQ(picture.at(1, 0), kRed);
}

TEST(CGContext, DrawsAnImageTakenFromItself) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(2, 1), NO, 1);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  CGContextRelease(CGContextRetain(context));
  CGContextSetRGBFillColor(context, 1, 0, 0, 1);
  CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
  UIImage *const half = UIGraphicsGetImageFromCurrentImageContext();
  [half drawInRect:CGRectMake(1, 0, 2, 1)];
  UIImage *const whole = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(Picture(half).at(1, 0), kClear);
  EXPECT_EQ(Picture(whole).at(1, 0), kRed);
}

} // namespace
