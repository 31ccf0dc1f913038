#import <UIKit/UIKit.h>

#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace {

std::array<CGFloat, 4> parts(UIColor *color) {
  std::array<CGFloat, 4> all{};
  EXPECT_TRUE([color getRed:&all[0] green:&all[1] blue:&all[2] alpha:&all[3]]);
  return all;
}

using Parts = std::array<CGFloat, 4>;

TEST(UIColor, HasTheNamedColoursOfTheDevice) {
  EXPECT_EQ(parts([UIColor blackColor]), (Parts{0, 0, 0, 1}));
  EXPECT_EQ(parts([UIColor whiteColor]), (Parts{1, 1, 1, 1}));
  EXPECT_EQ(parts([UIColor clearColor]), (Parts{0, 0, 0, 0}));
  EXPECT_EQ(parts([UIColor grayColor]), (Parts{0.5, 0.5, 0.5, 1}));
  EXPECT_NEAR(parts([UIColor darkGrayColor])[1], 1.0 / 3, 1e-6);
  EXPECT_NEAR(parts([UIColor lightGrayColor])[1], 2.0 / 3, 1e-6);
  EXPECT_EQ(parts([UIColor redColor]), (Parts{1, 0, 0, 1}));
  EXPECT_EQ(parts([UIColor greenColor]), (Parts{0, 1, 0, 1}));
  EXPECT_EQ(parts([UIColor blueColor]), (Parts{0, 0, 1, 1}));
  EXPECT_EQ(parts([UIColor cyanColor]), (Parts{0, 1, 1, 1}));
  EXPECT_EQ(parts([UIColor yellowColor]), (Parts{1, 1, 0, 1}));
  EXPECT_EQ(parts([UIColor magentaColor]), (Parts{1, 0, 1, 1}));
  EXPECT_EQ(parts([UIColor orangeColor]), (Parts{1, 0.5, 0, 1}));
  EXPECT_EQ(parts([UIColor purpleColor]), (Parts{0.5, 0, 0.5, 1}));
  EXPECT_EQ(parts([UIColor brownColor]), (Parts{0.6, 0.4, 0.2, 1}));
}

TEST(UIColor, TakesAnotherAlpha) {
  UIColor *const color = [[UIColor blackColor] colorWithAlphaComponent:0.8];
  EXPECT_EQ(parts(color), (Parts{0, 0, 0, 0.8}));
  EXPECT_EQ(CGColorGetNumberOfComponents([color CGColor]), 2U);
  EXPECT_EQ(CGColorGetAlpha([color CGColor]), 0.8);
  EXPECT_EQ(parts([[UIColor redColor] colorWithAlphaComponent:0.25]), (Parts{1, 0, 0, 0.25}));
}

TEST(UIColor, KeepsComponentsInTheirRange) {
  EXPECT_EQ(parts([UIColor colorWithRed:-1 green:2 blue:std::nan("") alpha:7]),
            (Parts{0, 1, 0, 1}));
  EXPECT_EQ(parts([UIColor colorWithWhite:-INFINITY alpha:INFINITY]), (Parts{0, 0, 0, 1}));
}

TEST(UIColor, TellsItsWhiteInGrayOnly) {
  CGFloat white = 7;
  CGFloat alpha = 7;
  EXPECT_TRUE([[UIColor colorWithWhite:0.25 alpha:0.5] getWhite:&white alpha:&alpha]);
  EXPECT_EQ(white, 0.25);
  EXPECT_EQ(alpha, 0.5);
  EXPECT_FALSE([[UIColor redColor] getWhite:&white alpha:&alpha]);
  EXPECT_EQ(white, 0.25);
  EXPECT_TRUE([[UIColor whiteColor] getWhite:nullptr alpha:nullptr]);
  EXPECT_TRUE([[UIColor redColor] getRed:nullptr green:nullptr blue:nullptr alpha:nullptr]);
}

TEST(UIColor, IsEqualToTheSameColourInTheSameSpace) {
  UIColor *const gray = [UIColor colorWithWhite:1 alpha:1];
  EXPECT_TRUE([gray isEqual:[UIColor whiteColor]]);
  EXPECT_EQ([gray hash], [[UIColor whiteColor] hash]);
  EXPECT_FALSE([gray isEqual:[UIColor colorWithRed:1 green:1 blue:1 alpha:1]]);
  EXPECT_FALSE([gray isEqual:[UIColor blackColor]]);
  EXPECT_FALSE([gray isEqual:[gray colorWithAlphaComponent:0.5]]);
  EXPECT_FALSE([gray isEqual:@"white"]);
  EXPECT_FALSE([gray isEqual:nil]);
  EXPECT_TRUE([[[gray copy] autorelease] isEqual:gray]);
}

TEST(UIColor, WrapsCoreGraphicsColours) {
  const CGColorRef color = [[UIColor redColor] CGColor];
  UIColor *const wrapped = [UIColor colorWithCGColor:color];
  EXPECT_EQ([wrapped CGColor], color);
  EXPECT_TRUE([wrapped isEqual:[UIColor redColor]]);
  EXPECT_EQ([UIColor colorWithCGColor:nullptr], nil);
}

} // namespace
