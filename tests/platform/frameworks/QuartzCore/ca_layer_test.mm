#include "support/view_picture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using veltro::test::difference;
using veltro::test::ink_of;
using veltro::test::Picture;
using veltro::test::picture_of;
using veltro::test::Pixel;

constexpr Pixel kClear{};
constexpr Pixel kRed{255, 0, 0, 255};
constexpr Pixel kBlue{0, 0, 255, 255};

UIView *view_of(CGRect frame, UIColor *color) {
  UIView *const view = [[[UIView alloc] initWithFrame:frame] autorelease];
  [view setBackgroundColor:color];
  return view;
}

UIView *red_square(CGFloat side) {
  return view_of(CGRectMake(0, 0, side, side), [UIColor redColor]);
}

/// Whether the point is in the square of that side whose corners have that radius.
bool in_rounded_square(double x, double y, double side, double radius) {
  const double across = std::max({radius - x, x - (side - radius), 0.0});
  const double down = std::max({radius - y, y - (side - radius), 0.0});
  return x >= 0 && y >= 0 && x <= side && y <= side && std::hypot(across, down) <= radius;
}

/// The part of the pixel that the rounded square covers, by 16 x 16 samples.
double coverage(std::size_t x, std::size_t y, double side, double radius) {
  constexpr int kSamples = 16;
  int hits = 0;
  for (int row = 0; row < kSamples; ++row)
    for (int column = 0; column < kSamples; ++column)
      hits += in_rounded_square(static_cast<double>(x) + (column + 0.5) / kSamples,
                                static_cast<double>(y) + (row + 0.5) / kSamples, side, radius);
  return static_cast<double>(hits) / (kSamples * kSamples);
}

void expect_rounded(const Picture &picture, double side, double radius) {
  for (std::size_t y = 0; y < picture.height; ++y)
    for (std::size_t x = 0; x < picture.width; ++x)
      EXPECT_NEAR(picture.at(x, y).alpha, 255 * coverage(x, y, side, radius), 12) << x << ", " << y;
}

TEST(Layer, DrawsTheBackgroundToItsEdges) {
  const Picture picture = picture_of(red_square(8), 1, 2);
  const auto ink = ink_of(picture);
  EXPECT_EQ(ink.pixels, 64U);
  EXPECT_EQ(ink.left, 2U);
  EXPECT_EQ(ink.bottom, 10U);
  EXPECT_EQ(picture.at(2, 2), kRed);
}

TEST(Layer, DrawsNothingOfAViewWithoutBackground) {
  EXPECT_EQ(ink_of(picture_of(view_of(CGRectMake(0, 0, 8, 8), nil))).pixels, 0U);
}

TEST(Layer, RoundsTheCorners) {
  for (const double radius : {1.0, 5.0, 10.0}) {
    UIView *const view = red_square(20);
    [[view layer] setCornerRadius:radius];
    expect_rounded(picture_of(view), 20, radius);
  }
}

TEST(Layer, RoundsNoMoreThanHalfASide) {
  UIView *const view = red_square(20);
  [[view layer] setCornerRadius:50];
  expect_rounded(picture_of(view), 20, 10);
}

TEST(Layer, RoundsInPixelsOfTheScale) {
  UIView *const view = red_square(20);
  [[view layer] setCornerRadius:6];
  expect_rounded(picture_of(view, 2), 40, 12);
}

TEST(Layer, ClipsSubviewsToItsRoundedBoundsOnlyWhereItMasks) {
  UIView *const view = view_of(CGRectMake(0, 0, 20, 20), nil);
  [[view layer] setCornerRadius:6];
  [view addSubview:view_of(CGRectMake(-5, -5, 40, 40), [UIColor redColor])];
  EXPECT_EQ(picture_of(view).at(0, 0), kRed);
  EXPECT_EQ(picture_of(view, 1, 5).at(0, 0), kRed);
  [[view layer] setMasksToBounds:YES];
  expect_rounded(picture_of(view), 20, 6);
  EXPECT_EQ(picture_of(view, 1, 5).at(0, 10), kClear);
}

TEST(Layer, DrawsSubviewsInOrderWhereTheyAre) {
  UIView *const view = red_square(20);
  UIView *const below = view_of(CGRectMake(5, 5, 10, 10), [UIColor greenColor]);
  UIView *const above = view_of(CGRectMake(8, 9, 2, 2), [UIColor blueColor]);
  [view addSubview:below];
  [view addSubview:above];
  EXPECT_EQ(picture_of(view).at(8, 9), kBlue);
  EXPECT_EQ(picture_of(view).at(4, 9), kRed);
  EXPECT_EQ(picture_of(view).at(5, 9), (Pixel{0, 255, 0, 255}));
  [view sendSubviewToBack:above];
  EXPECT_EQ(picture_of(view).at(8, 9), (Pixel{0, 255, 0, 255}));
}

TEST(Layer, ScrollsByTheOriginOfTheBounds) {
  UIView *const view = view_of(CGRectMake(0, 0, 20, 20), nil);
  [view addSubview:view_of(CGRectMake(10, 10, 4, 4), [UIColor redColor])];
  [view setBounds:CGRectMake(10, 10, 20, 20)];
  EXPECT_EQ(picture_of(view).at(0, 0), kRed);
  UIView *const outer = view_of(CGRectMake(0, 0, 30, 30), nil);
  [view setFrame:CGRectMake(5, 5, 20, 20)];
  [outer addSubview:view];
  const auto ink = ink_of(picture_of(outer));
  EXPECT_EQ(ink.left, 5U);
  EXPECT_EQ(ink.right, 9U);
}

TEST(Layer, FadesAViewAndItsSubviewsAsOnePicture) {
  UIView *const view = red_square(20);
  [view addSubview:view_of(CGRectMake(0, 0, 10, 20), [UIColor blueColor])];
  [view setAlpha:0.5];
  const Picture picture = picture_of(view);
  EXPECT_LE(difference(picture.at(15, 10), {128, 0, 0, 128}), 1);
  EXPECT_LE(difference(picture.at(5, 10), {0, 0, 128, 128}), 1);
}

TEST(Layer, FadesWithinItsParent) {
  UIView *const view = red_square(20);
  UIView *const inner = view_of(CGRectMake(0, 0, 10, 20), [UIColor blueColor]);
  [inner setAlpha:0.25];
  [view addSubview:inner];
  EXPECT_LE(difference(picture_of(view).at(5, 10), {191, 0, 64, 255}), 1);
  EXPECT_EQ(picture_of(view).at(15, 10), kRed);
}

TEST(Layer, DrawsNothingThatIsHiddenOrAlmostClear) {
  UIView *const view = red_square(20);
  UIView *const inner = view_of(CGRectMake(0, 0, 10, 20), [UIColor blueColor]);
  [view addSubview:inner];
  [inner setHidden:YES];
  EXPECT_EQ(picture_of(view).at(5, 10), kRed);
  [inner setHidden:NO];
  [inner setAlpha:0.009];
  EXPECT_EQ(picture_of(view).at(5, 10), kRed);
  [view setHidden:YES];
  EXPECT_EQ(ink_of(picture_of(view)).pixels, 0U);
}

TEST(Layer, LeavesTheContextAsItWas) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(10, 10), NO, 1);
  CGContextRef context = UIGraphicsGetCurrentContext();
  [[UIColor blueColor] setFill];
  UIView *const view = red_square(4);
  [[view layer] setMasksToBounds:YES];
  [[view layer] renderInContext:context];
  EXPECT_EQ(UIGraphicsGetCurrentContext(), context);
  UIRectFill(CGRectMake(0, 0, 10, 10));
  const Picture picture(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  EXPECT_EQ(picture.at(2, 2), kBlue);
  EXPECT_EQ(picture.at(8, 8), kBlue);
}

TEST(Layer, DrawsNothingWithoutContextOrView) {
  UIView *const view = [[UIView alloc] initWithFrame:CGRectMake(0, 0, 4, 4)];
  [view setBackgroundColor:[UIColor redColor]];
  CALayer *const layer = [[view layer] retain];
  [layer renderInContext:nullptr];
  [view release];
  EXPECT_EQ([layer delegate], nil);
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(4, 4), NO, 1);
  [layer renderInContext:UIGraphicsGetCurrentContext()];
  const Picture picture(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  EXPECT_EQ(ink_of(picture).pixels, 0U);
  [layer release];
}

TEST(DrawViewHierarchy, FillsTheRectangle) {
  UIView *const view = red_square(10);
  [view addSubview:view_of(CGRectMake(5, 0, 5, 10), [UIColor blueColor])];
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(40, 40), NO, 1);
  EXPECT_TRUE([view drawViewHierarchyInRect:CGRectMake(10, 10, 20, 10) afterScreenUpdates:YES]);
  const Picture picture(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  const auto ink = ink_of(picture);
  EXPECT_EQ(ink.left, 10U);
  EXPECT_EQ(ink.right, 30U);
  EXPECT_EQ(ink.top, 10U);
  EXPECT_EQ(ink.bottom, 20U);
  EXPECT_EQ(picture.at(19, 15), kRed);
  EXPECT_EQ(picture.at(20, 15), kBlue);
}

TEST(DrawViewHierarchy, NeedsAContext) {
  EXPECT_FALSE([red_square(4) drawViewHierarchyInRect:CGRectMake(0, 0, 4, 4)
                                   afterScreenUpdates:NO]);
}

TEST(DrawViewHierarchy, DrawsAnEmptyViewAsNothing) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(4, 4), NO, 1);
  EXPECT_TRUE([red_square(0) drawViewHierarchyInRect:CGRectMake(0, 0, 4, 4) afterScreenUpdates:NO]);
  const Picture picture(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  EXPECT_EQ(ink_of(picture).pixels, 0U);
}

/// The same through a bitmap context of one's own.
Picture picture_in_bitmap(UIView *view, CGBitmapInfo info) {
  const CGRect bounds = [view bounds];
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGContextRef context =
      CGBitmapContextCreate(nullptr, static_cast<size_t>(bounds.size.width),
                            static_cast<size_t>(bounds.size.height), 8, 0, space, info);
  CGColorSpaceRelease(space);
  [[view layer] renderInContext:context];
  const CGImageRef image = CGBitmapContextCreateImage(context);
  CGContextRelease(context);
  const Picture picture([UIImage imageWithCGImage:image]);
  CGImageRelease(image);
  return picture;
}

TEST(Layer, HasTheSameColoursInABitmapWithRedFirst) {
  UILabel *const label = [[[UILabel alloc] initWithFrame:CGRectMake(0, 0, 60, 60)] autorelease];
  [label setText:@"\u25a0"];
  [label setFont:[UIFont systemFontOfSize:60]];
  [label setTextColor:[UIColor redColor]];
  setenv("VELTRO_SYSTEM_VERSION", "6.1", 1);
  UIAlertView *const alert = [[[UIAlertView alloc] initWithFrame:CGRectZero] autorelease];
  [alert show];
  for (UIView *view in [NSArray arrayWithObjects:label, alert, nil]) {
    const Picture picture = picture_in_bitmap(view, kCGImageAlphaPremultipliedLast);
    const Picture expected = picture_in_bitmap(
        view, kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst});
    bool has_colour = false;
    for (std::size_t y = 0; y < picture.height; ++y)
      for (std::size_t x = 0; x < picture.width; ++x) {
        const Pixel pixel = picture.at(x, y);
        ASSERT_EQ(pixel, expected.at(x, y)) << x << ", " << y;
        has_colour |= view == label ? pixel == kRed : pixel.blue > pixel.red;
      }
    EXPECT_TRUE(has_colour);
  }
  [alert dismissWithClickedButtonIndex:0 animated:NO];
  unsetenv("VELTRO_SYSTEM_VERSION");
}

} // namespace
