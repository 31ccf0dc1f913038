#include "support/view_picture.hpp"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>

namespace {

using veltro::test::Ink;
using veltro::test::ink_of;
using veltro::test::Picture;
using veltro::test::picture_of;
using veltro::test::Pixel;

UILabel *label_of(NSString *text, CGFloat width = 200, CGFloat height = 30) {
  UILabel *const label =
      [[[UILabel alloc] initWithFrame:CGRectMake(0, 0, width, height)] autorelease];
  [label setText:text];
  return label;
}

Ink ink(UILabel *label) {
  return ink_of(picture_of(label));
}

CGSize size_in(UILabel *label, CGFloat width) {
  return [label sizeThatFits:CGSizeMake(width, 0)];
}

TEST(Font, HasARegularAndABoldFace) {
  UIFont *const regular = [UIFont systemFontOfSize:12];
  UIFont *const bold = [UIFont boldSystemFontOfSize:12];
  EXPECT_EQ([regular pointSize], 12);
  EXPECT_FALSE([[regular fontName] isEqual:[bold fontName]]);
  EXPECT_TRUE([regular isEqual:[UIFont systemFontOfSize:12]]);
  EXPECT_EQ([regular hash], [[UIFont systemFontOfSize:12] hash]);
  EXPECT_FALSE([regular isEqual:bold]);
  EXPECT_FALSE([regular isEqual:[UIFont systemFontOfSize:13]]);
  EXPECT_FALSE([regular isEqual:@"Sans"]);
  EXPECT_EQ([[regular copy] autorelease], regular);
}

TEST(Font, HasLinesThatGrowWithIt) {
  const CGFloat height = [[UIFont systemFontOfSize:10] lineHeight];
  EXPECT_GT(height, 10);
  EXPECT_LT(height, 16);
  EXPECT_NEAR([[UIFont systemFontOfSize:30] lineHeight], 3 * height, 0.1);
}

/// Of ten letters at a size of 100, so that the width is that of Helvetica's tables.
CGFloat width_of_ten(NSString *letter, UIFont *font) {
  UILabel *const label = label_of([@"" stringByPaddingToLength:10
                                                    withString:letter
                                               startingAtIndex:0]);
  [label setFont:font];
  return size_in(label, 0).width;
}

TEST(Font, IsAsWideAsHelvetica) {
  UIFont *const regular = [UIFont systemFontOfSize:100];
  EXPECT_NEAR(width_of_ten(@"M", regular), 833, 1);
  EXPECT_NEAR(width_of_ten(@"i", regular), 222, 1);
  EXPECT_NEAR(width_of_ten(@"n", regular), 556, 1);
  EXPECT_NEAR(width_of_ten(@"n", [UIFont boldSystemFontOfSize:100]), 611, 1);
}

TEST(Font, LeavesWhatItLacksToOtherFonts) {
  // An alef is a mere stroke; the box of a letter that no font has is wide.
  UILabel *const label = label_of(@"\u0627", 100, 100);
  [label setFont:[UIFont systemFontOfSize:60]];
  const Ink drawn = ink(label);
  EXPECT_LT(drawn.right - drawn.left, 12U);
  EXPECT_GT(drawn.bottom - drawn.top, 30U);
}

TEST(Label, HasTheDevicesNumbersForItsAlignments) {
  EXPECT_EQ(NSTextAlignmentLeft, 0);
  EXPECT_EQ(NSTextAlignmentCenter, 1);
  EXPECT_EQ(NSTextAlignmentRight, 2);
}

TEST(Label, StartsWithTheDefaultsOfTheRelease) {
  UILabel *const label = label_of(nil);
  EXPECT_EQ([label text], nil);
  EXPECT_TRUE([[label font] isEqual:[UIFont systemFontOfSize:17]]);
  EXPECT_EQ([label textAlignment], NSTextAlignmentLeft);
  EXPECT_EQ([label numberOfLines], 1);
  EXPECT_EQ([label backgroundColor], nil);
  setenv("VELTRO_SYSTEM_VERSION", "6.1", 1);
  EXPECT_EQ(picture_of(label_of(@"")).at(0, 0), (Pixel{255, 255, 255, 255}));
  setenv("VELTRO_SYSTEM_VERSION", "7.0", 1);
  EXPECT_EQ([label_of(nil) backgroundColor], nil);
  unsetenv("VELTRO_SYSTEM_VERSION");
}

TEST(Label, GoesBackToTheDefaultsWhereFontOrColourAreTakenAway) {
  UILabel *const label = label_of(@"word", 60, 30);
  const Picture at_first = picture_of(label);
  [label setFont:[UIFont systemFontOfSize:9]];
  [label setTextColor:[UIColor redColor]];
  EXPECT_EQ([label font].pointSize, 9);
  [label setFont:nil];
  [label setTextColor:nil];
  EXPECT_TRUE([[label font] isEqual:[UIFont systemFontOfSize:17]]);
  EXPECT_TRUE(CGColorEqualToColor([[label textColor] CGColor], [[UIColor blackColor] CGColor]));
  const Picture again = picture_of(label);
  for (std::size_t y = 0; y < again.height; ++y)
    for (std::size_t x = 0; x < again.width; ++x)
      ASSERT_EQ(again.at(x, y), at_first.at(x, y));
  EXPECT_GT(size_in(label, 0).width, 17);
}

TEST(Label, StandsFontsOfAnySize) {
  const Ink before = ink(label_of(@"word"));
  for (const CGFloat size : {0.0, -3.0, 0.01, 1e5, 1e9, std::nan(""), HUGE_VAL}) {
    UILabel *const label = label_of(@"word", 60, 30);
    [label setFont:[UIFont systemFontOfSize:size]];
    EXPECT_EQ(picture_of(label, 3).width, 180U) << size;
    EXPECT_GE([label sizeThatFits:CGSizeMake(60, 0)].width, 0) << size;
    // None changes the text that is drawn after it.
    EXPECT_EQ(ink(label_of(@"word")).pixels, before.pixels) << size;
  }
  EXPECT_GT(before.pixels, 50U);
}

TEST(Label, LeavesOutHalfASurrogatePair) {
  NSMutableString *const text = [NSMutableString stringWithString:@"wo\U0001F600rd"];
  [text deleteCharactersInRange:NSMakeRange(3, 1)];
  EXPECT_EQ(size_in(label_of(text), 0).width, size_in(label_of(@"word"), 0).width);
}

TEST(Label, HasTheSizeOfItsText) {
  EXPECT_EQ(size_in(label_of(nil), 100).width, 0);
  EXPECT_EQ(size_in(label_of(@""), 100).height, 0);
  const CGSize one = size_in(label_of(@"word"), 0);
  EXPECT_GT(one.width, 17);
  EXPECT_GE(one.height, [[UIFont systemFontOfSize:17] lineHeight]);
  EXPECT_GT(size_in(label_of(@"word word"), 0).width, 2 * one.width);
  UILabel *const large = label_of(@"word");
  [large setFont:[UIFont systemFontOfSize:34]];
  EXPECT_NEAR(size_in(large, 0).width, 2 * one.width, 2);
}

TEST(Label, IsOneLineUnlessToldOtherwise) {
  UILabel *const label = label_of(@"a number of words\nand more");
  const CGSize one = size_in(label, 60);
  EXPECT_GT(one.width, 60);
  EXPECT_LT(one.height, 30);
  [label setNumberOfLines:0];
  const CGSize wrapped = size_in(label, 60);
  EXPECT_LE(wrapped.width, 60);
  EXPECT_GT(wrapped.height, 3 * one.height);
  EXPECT_NEAR(size_in(label, 0).height, 2 * one.height, 2);
  EXPECT_NEAR(size_in(label, std::numeric_limits<CGFloat>::max()).height, 2 * one.height, 2);
  [label setText:@"a number of words and more"];
  [label setNumberOfLines:2];
  EXPECT_NEAR(size_in(label, 60).height, 2 * one.height, 2);
}

TEST(Label, DrawsItsColourWithinItsBounds) {
  UILabel *const label = label_of(@"████", 40, 20);
  [label setTextColor:[UIColor redColor]];
  const Picture picture = picture_of(label, 1, 10);
  const Ink drawn = ink_of(picture);
  EXPECT_GT(drawn.pixels, 100U);
  EXPECT_GE(drawn.left, 10U);
  EXPECT_GE(drawn.top, 10U);
  EXPECT_LE(drawn.right, 50U);
  EXPECT_LE(drawn.bottom, 30U);
  for (std::size_t y = 0; y < picture.height; ++y)
    for (std::size_t x = 0; x < picture.width; ++x)
      EXPECT_EQ(picture.at(x, y).red, picture.at(x, y).alpha);
}

TEST(Label, DrawsTranslucentText) {
  UILabel *const label = label_of(@"████", 40, 20);
  [label setTextColor:[[UIColor blueColor] colorWithAlphaComponent:0.5]];
  EXPECT_NEAR(picture_of(label).at(10, 10).alpha, 128, 1);
}

TEST(Label, DrawsNothingWithoutText) {
  EXPECT_EQ(ink(label_of(nil)).pixels, 0U);
  EXPECT_EQ(ink(label_of(@"")).pixels, 0U);
}

void expect_aligned(NSString *text) {
  UILabel *const label = label_of(text);
  const Ink left = ink(label);
  EXPECT_LT(left.left, 8U);
  EXPECT_LT(left.right, 100U);
  [label setTextAlignment:NSTextAlignmentRight];
  const Ink right = ink(label);
  EXPECT_GT(right.left, 100U);
  EXPECT_GT(right.right, 192U);
  [label setTextAlignment:NSTextAlignmentCenter];
  const Ink center = ink(label);
  EXPECT_NEAR(static_cast<double>(center.left + center.right) / 2, 100, 3);
}

TEST(Label, AlignsText) {
  expect_aligned(@"abcd");
}

TEST(Label, AlignsTextThatRunsFromRightToLeftOnTheSameSides) {
  expect_aligned(@"שלום");
  expect_aligned(@"سلام");
}

TEST(Label, AlignsTextWithoutAlphabet) {
  expect_aligned(@"読み込み");
}

TEST(Label, StandsInTheMiddleOfItsHeight) {
  const Ink drawn = ink(label_of(@"██", 40, 100));
  EXPECT_NEAR(static_cast<double>(drawn.top + drawn.bottom) / 2, 50, 3);
}

TEST(Label, BeginsAtTheTopWhereTheTextIsTooHigh) {
  UILabel *const label = label_of(@"██", 60, 10);
  [label setFont:[UIFont systemFontOfSize:30]];
  EXPECT_GT(ink(label).pixels, 0U);
  EXPECT_LT(ink(label).top, 6U);
}

TEST(Label, EndsInAnEllipsisWhatDoesNotFit) {
  UILabel *const cut = label_of(@"████████████████", 60, 20);
  const Picture picture = picture_of(cut);
  EXPECT_LE(ink_of(picture).right, 60U);
  // The ellipsis leaves the upper half at the end clear.
  UILabel *const whole = label_of(@"████████████████", 400, 20);
  EXPECT_GT(ink(whole).right, 100U);
  EXPECT_EQ(picture.at(52, 5), (Pixel{}));
  EXPECT_NE(picture_of(whole).at(52, 5), (Pixel{}));
}

TEST(Label, WrapsIntoItsLines) {
  UILabel *const label = label_of(@"██ ██ ██ ██", 50, 100);
  const std::size_t one = ink(label).bottom - ink(label).top;
  [label setNumberOfLines:2];
  const std::size_t two = ink(label).bottom - ink(label).top;
  [label setNumberOfLines:0];
  const std::size_t all = ink(label).bottom - ink(label).top;
  EXPECT_GT(two, one + 10);
  EXPECT_GT(all, two + 10);
}

/// What is drawn of `label` under a transform that scales it, on nothing.
Picture scaled(UILabel *label, CGFloat scale) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(200, 120), NO, 1);
  const CGContextRef context = UIGraphicsGetCurrentContext();
  CGContextSaveGState(context);
  CGContextScaleCTM(context, scale, scale);
  [[label layer] renderInContext:context];
  CGContextRestoreGState(context);
  // Whatever the scale, the context can still be drawn in.
  CGContextFillRect(context, CGRectMake(199, 119, 1, 1));
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return Picture(image);
}

TEST(Label, DrawsNothingThroughATransformWithoutInverse) {
  for (const double scale : {0.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    const Ink drawn = ink_of(scaled(label_of(@"██"), scale));
    EXPECT_EQ(drawn.pixels, 1U) << scale;
    EXPECT_EQ(drawn.left, 199U) << scale;
  }
}

TEST(Label, StandsGreatScales) {
  const auto middle = [](double scale) {
    const Picture picture = scaled(label_of(@"██", 40, 1), scale);
    EXPECT_EQ(picture.at(199, 119), (Pixel{0, 0, 0, 255})) << scale;
    return picture.at(100, 60);
  };
  EXPECT_EQ(middle(1e6), (Pixel{})) << "left out";
  EXPECT_EQ(middle(100), (Pixel{0, 0, 0, 255}));
  EXPECT_EQ(middle(2700), (Pixel{0, 0, 0, 255}));
}

TEST(Label, ScalesTheBoxesOfLettersThatNoFontHas) {
  UILabel *const label = label_of(@"\u0378", 60, 30);
  const auto height = [=](CGFloat scale) {
    const Ink drawn = ink_of(picture_of(label, scale));
    return static_cast<int>(drawn.bottom) - static_cast<int>(drawn.top);
  };
  EXPECT_GT(height(1), 8);
  EXPECT_NEAR(height(3), 3 * height(1), 4);
}

} // namespace
