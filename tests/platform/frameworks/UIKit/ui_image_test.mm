#include "support/pixels.hpp"
#include "support/png.hpp"
#include "support/scratch.hpp"

#import <UIKit/UIKit.h>

#include <cmath>
#include <gtest/gtest.h>
#include <string>

namespace {

using veltro::test::difference;
using veltro::test::Picture;
using veltro::test::Pixel;
using veltro::test::png_of;

NSData *data_of(const std::string &bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

/// Draws into a context at scale 1 and takes the picture.
Picture drawn(UIImage *image, CGSize size, CGRect rect) {
  UIGraphicsBeginImageContextWithOptions(size, NO, 1);
  [image drawInRect:rect];
  const Picture picture(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  return picture;
}

constexpr Pixel kRed{255, 0, 0, 255};
constexpr Pixel kGreen{0, 255, 0, 255};
constexpr Pixel kBlue{0, 0, 255, 255};
constexpr Pixel kWhite{255, 255, 255, 255};
constexpr Pixel kBlack{0, 0, 0, 255};
constexpr Pixel kClear{0, 0, 0, 0};

/// red green blue
/// black clear white
UIImage *six() {
  Picture picture(3, 2);
  picture.set(0, 0, kRed);
  picture.set(1, 0, kGreen);
  picture.set(2, 0, kBlue);
  picture.set(0, 1, kBlack);
  picture.set(1, 1, kClear);
  picture.set(2, 1, kWhite);
  return picture.image();
}

TEST(UIImage, ReadsPNG) {
  UIImage *const image =
      [UIImage imageWithData:data_of(png_of(2, 1, 4, {200, 100, 50, 255, 200, 100, 50, 128}))];
  EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(2, 1)));
  EXPECT_EQ([image scale], 1);
  EXPECT_EQ([image imageOrientation], UIImageOrientationUp);
  const Picture picture(image);
  EXPECT_EQ(picture.at(0, 0), (Pixel{200, 100, 50, 255}));
  // Multiplied by 128 / 255 and rounded.
  EXPECT_EQ(picture.at(1, 0), (Pixel{100, 50, 25, 128}));
}

TEST(UIImage, ReadsPNGWithoutAlpha) {
  UIImage *const image = [UIImage imageWithData:data_of(png_of(1, 2, 3, {1, 2, 3, 250, 251, 252}))];
  EXPECT_EQ(CGImageGetAlphaInfo([image CGImage]), kCGImageAlphaNoneSkipFirst);
  EXPECT_EQ(Picture(image).at(0, 0), (Pixel{1, 2, 3, 255}));
  EXPECT_EQ(Picture(image).at(0, 1), (Pixel{250, 251, 252, 255}));
}

TEST(UIImage, RefusesWhatIsNoWholeImage) {
  const std::string png = png_of(4, 4, 3, std::vector<std::uint8_t>(48, 7));
  EXPECT_NE([UIImage imageWithData:data_of(png)], nil);
  for (std::size_t length = 0; length < png.size(); ++length)
    EXPECT_EQ([UIImage imageWithData:data_of(png.substr(0, length))], nil) << length;
  EXPECT_EQ([UIImage imageWithData:nil], nil);
  EXPECT_EQ([UIImage imageWithData:data_of("this is text and no image")], nil);
  EXPECT_EQ([UIImage imageWithData:data_of(png_of(1, 1, 3, {1, 2, 3}, 40000))], nil);
  EXPECT_EQ([UIImage imageWithContentsOfFile:@"/no/such/file.png"], nil);
  EXPECT_EQ([UIImage imageWithContentsOfFile:nil], nil);
}

TEST(UIImage, TakesTheScaleFromTheNameOfAFile) {
  const std::filesystem::path &folder = veltro::test::scratch();
  NSData *const png = data_of(png_of(6, 6, 3, std::vector<std::uint8_t>(108)));
  for (const auto &[name, scale] :
       {std::pair{"plain.png", 1}, {"double@2x.png", 2}, {"triple@3x.png", 3}}) {
    NSString *const path = [NSString stringWithUTF8String:(folder / name).c_str()];
    [png writeToFile:path atomically:NO];
    UIImage *const image = [[[UIImage alloc] initWithContentsOfFile:path] autorelease];
    EXPECT_EQ([image scale], scale) << name;
    EXPECT_EQ([image size].width, 6.0 / scale) << name;
  }
}

TEST(UIImage, MeasuresUprightInPoints) {
  const CGImageRef pixels = [six() CGImage];
  const auto size = [=](UIImageOrientation orientation) {
    return [[UIImage imageWithCGImage:pixels scale:2 orientation:orientation] size];
  };
  for (const UIImageOrientation orientation :
       {UIImageOrientationUp, UIImageOrientationDown, UIImageOrientationUpMirrored,
        UIImageOrientationDownMirrored})
    EXPECT_TRUE(CGSizeEqualToSize(size(orientation), CGSizeMake(1.5, 1))) << orientation;
  for (const UIImageOrientation orientation :
       {UIImageOrientationLeft, UIImageOrientationRight, UIImageOrientationLeftMirrored,
        UIImageOrientationRightMirrored})
    EXPECT_TRUE(CGSizeEqualToSize(size(orientation), CGSizeMake(1, 1.5))) << orientation;
}

TEST(UIImage, DrawsEveryOrientationUpright) {
  using Rows = std::vector<std::vector<Pixel>>;
  const std::vector<std::pair<UIImageOrientation, Rows>> cases{
      {UIImageOrientationUp, {{kRed, kGreen, kBlue}, {kBlack, kClear, kWhite}}},
      {UIImageOrientationDown, {{kWhite, kClear, kBlack}, {kBlue, kGreen, kRed}}},
      {UIImageOrientationLeft, {{kBlue, kWhite}, {kGreen, kClear}, {kRed, kBlack}}},
      {UIImageOrientationRight, {{kBlack, kRed}, {kClear, kGreen}, {kWhite, kBlue}}},
      {UIImageOrientationUpMirrored, {{kBlue, kGreen, kRed}, {kWhite, kClear, kBlack}}},
      {UIImageOrientationDownMirrored, {{kBlack, kClear, kWhite}, {kRed, kGreen, kBlue}}},
      {UIImageOrientationLeftMirrored, {{kRed, kBlack}, {kGreen, kClear}, {kBlue, kWhite}}},
      {UIImageOrientationRightMirrored, {{kWhite, kBlue}, {kClear, kGreen}, {kBlack, kRed}}},
  };
  for (const auto &[orientation, rows] : cases) {
    UIImage *const image = [UIImage imageWithCGImage:[six() CGImage]
                                               scale:1
                                         orientation:orientation];
    const Picture picture = drawn(image, [image size], { {0, 0}, [image size] });
    ASSERT_EQ(picture.height, rows.size());
    for (std::size_t y = 0; y < rows.size(); ++y)
      for (std::size_t x = 0; x < rows[y].size(); ++x)
        EXPECT_EQ(picture.at(x, y), rows[y][x]) << orientation << ": " << x << ", " << y;
    // The orientation survives a JPEG, whose pixels it does not touch.
    UIImage *const again = [UIImage imageWithData:UIImageJPEGRepresentation(image, 1)];
    EXPECT_EQ([again imageOrientation], orientation);
    EXPECT_TRUE(CGSizeEqualToSize([again size], [image size]));
  }
}

TEST(UIImage, IsUprightWhereTheOrientationIsNone) {
  const auto no_orientation = static_cast<UIImageOrientation>(99);
  UIImage *const image = [UIImage imageWithCGImage:[six() CGImage]
                                             scale:1
                                       orientation:no_orientation];
  EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(3, 2)));
  EXPECT_EQ(drawn(image, CGSizeMake(3, 2), CGRectMake(0, 0, 3, 2)).at(0, 0), kRed);
  NSData *const file = UIImageJPEGRepresentation(image, 1);
  EXPECT_TRUE([file isEqualToData:UIImageJPEGRepresentation(six(), 1)]);
  EXPECT_EQ([[UIImage imageWithData:file] imageOrientation], UIImageOrientationUp);

  UIImage *const turned = [UIImage imageWithCGImage:[six() CGImage]
                                              scale:1
                                        orientation:UIImageOrientationRight];
  NSMutableData *const other = [[UIImageJPEGRepresentation(turned, 1) mutableCopy] autorelease];
  std::uint8_t &orientation = static_cast<std::uint8_t *>([other mutableBytes])[31];
  ASSERT_EQ(orientation, 6);
  for (const int none : {0, 9, 255}) {
    orientation = static_cast<std::uint8_t>(none);
    UIImage *const read = [UIImage imageWithData:other];
    EXPECT_EQ([read imageOrientation], UIImageOrientationUp) << none;
    EXPECT_TRUE(CGSizeEqualToSize([read size], CGSizeMake(3, 2)));
  }
}

TEST(UIImage, DrawsInARectangleAndAtAPoint) {
  const Picture stretched = drawn(six(), CGSizeMake(8, 6), CGRectMake(1, 1, 6, 4));
  EXPECT_EQ(stretched.at(0, 0), kClear);
  EXPECT_EQ(stretched.at(1, 1), kRed);
  EXPECT_EQ(stretched.at(6, 1), kBlue);
  EXPECT_EQ(stretched.at(6, 4), kWhite);
  EXPECT_EQ(stretched.at(7, 4), kClear);
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(4, 3), NO, 1);
  [six() drawAtPoint:CGPointMake(1, 1)];
  const Picture at_a_point(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  EXPECT_EQ(at_a_point.at(0, 1), kClear);
  EXPECT_EQ(at_a_point.at(1, 1), kRed);
  EXPECT_EQ(at_a_point.at(3, 2), kWhite);
}

TEST(UIImage, DrawsWithTheAlphaOfTheContext) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(3, 2), NO, 1);
  CGContextSetAlpha(UIGraphicsGetCurrentContext(), 0.5);
  [six() drawAtPoint:CGPointZero];
  const Picture picture(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  EXPECT_LE(difference(picture.at(0, 0), {128, 0, 0, 128}), 1);
}

TEST(UIImage, WithoutAContextDrawsNothing) {
  [six() drawAtPoint:CGPointZero];
  [six() drawInRect:CGRectMake(0, 0, 2, 2)];
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
}

TEST(UIImage, WithoutPixelsHasNoSizeAndDrawsNothing) {
  UIImage *const empty = [UIImage imageWithCGImage:nullptr];
  EXPECT_TRUE(CGSizeEqualToSize([empty size], CGSizeZero));
  EXPECT_EQ(drawn(empty, CGSizeMake(1, 1), CGRectMake(0, 0, 1, 1)).at(0, 0), kClear);
  EXPECT_EQ(UIImagePNGRepresentation(empty), nil);
  EXPECT_EQ(UIImageJPEGRepresentation(empty, 1), nil);
  EXPECT_EQ(UIImagePNGRepresentation(nil), nil);
  EXPECT_EQ(UIImageJPEGRepresentation(nil, 1), nil);
}

TEST(UIImage, PNGKeepsEveryPixel) {
  // Components that are a multiple of alpha come back exactly.
  Picture picture(256, 3);
  for (std::size_t x = 0; x < 256; ++x) {
    const int value = static_cast<int>(x);
    picture.set(x, 0, {value, 255 - value, value / 2, 255});
    picture.set(x, 1, {value, 0, value, value});
    picture.set(x, 2, {value / 3, value / 2, value / 5, value});
  }
  const Picture again([UIImage imageWithData:UIImagePNGRepresentation(picture.image())]);
  ASSERT_EQ(again.width, 256U);
  for (std::size_t x = 0; x < 256; ++x)
    for (std::size_t y = 0; y < 3; ++y)
      EXPECT_LE(difference(again.at(x, y), picture.at(x, y)), y == 2 ? 1 : 0) << x << ", " << y;
}

TEST(UIImage, JPEGIsOnWhite) {
  Picture picture(16, 16);
  for (std::size_t y = 0; y < 16; ++y)
    for (std::size_t x = 0; x < 16; ++x)
      picture.set(x, y, y < 8 ? Pixel{0, 0, 0, 0} : Pixel{0, 0, 0, 128});
  const Picture again([UIImage imageWithData:UIImageJPEGRepresentation(picture.image(), 1)]);
  EXPECT_LE(difference(again.at(8, 3), kWhite), 3);
  EXPECT_LE(difference(again.at(8, 12), {127, 127, 127, 255}), 3);
}

TEST(UIImage, JPEGGrowsWithItsQuality) {
  Picture picture(64, 64);
  for (std::size_t y = 0; y < 64; ++y)
    for (std::size_t x = 0; x < 64; ++x)
      picture.set(x, y, {static_cast<int>(x * y % 256), static_cast<int>(x * 37 % 256), 0, 255});
  UIImage *const image = picture.image();
  const auto size = [=](CGFloat quality) {
    return [UIImageJPEGRepresentation(image, quality) length];
  };
  EXPECT_LT(size(0.1), size(0.5));
  EXPECT_LT(size(0.5), size(1));
  EXPECT_EQ(size(-3), size(0));
  EXPECT_EQ(size(3), size(1));
  EXPECT_EQ(size(std::nan("")), size(0));
}

} // namespace
