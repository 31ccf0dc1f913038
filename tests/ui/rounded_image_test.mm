// What roundedImage:width:height: draws, compared with pictures worked out pixel by pixel: how much
// of a pixel the circle covers, times the mean of the part of the source that the pixel shows.
#include "support/pixels.hpp"

#import <veltro/veltro.h>

#import <UIKit/UIKit.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

namespace {

using veltro::test::difference;
using veltro::test::Picture;
using veltro::test::Pixel;

/// How much of the square pixel at (x, y) the circle covers, by counting points.
double coverage(std::size_t x, std::size_t y, double center_x, double center_y, double radius) {
  constexpr int kSteps = 24;
  int inside = 0;
  for (int row = 0; row < kSteps; ++row)
    for (int column = 0; column < kSteps; ++column) {
      const double dx = static_cast<double>(x) + (column + 0.5) / kSteps - center_x;
      const double dy = static_cast<double>(y) + (row + 0.5) / kSteps - center_y;
      inside += dx * dx + dy * dy <= radius * radius ? 1 : 0;
    }
  return static_cast<double>(inside) / (kSteps * kSteps);
}

class RoundedImage : public testing::Test {
protected:
  void SetUp() override { setenv("VELTRO_SCREEN_SCALE", "1", 1); }
};

Picture filled(std::size_t width, std::size_t height,
               const std::function<Pixel(std::size_t, std::size_t)> &color) {
  Picture picture(width, height);
  for (std::size_t y = 0; y < height; ++y)
    for (std::size_t x = 0; x < width; ++x)
      picture.set(x, y, color(x, y));
  return picture;
}

constexpr Pixel kWhite{255, 255, 255, 255};

Picture white_picture(std::size_t width, std::size_t height) {
  return filled(width, height, [](std::size_t, std::size_t) { return kWhite; });
}

void expect_circle(UIImage *image, double center_x, double center_y, double radius) {
  const Picture picture(image);
  for (std::size_t y = 0; y < picture.height; ++y)
    for (std::size_t x = 0; x < picture.width; ++x) {
      const int part =
          static_cast<int>(std::lround(255 * coverage(x, y, center_x, center_y, radius)));
      ASSERT_LE(difference(picture.at(x, y), {part, part, part, part}), 10) << x << ", " << y;
    }
}

TEST_F(RoundedImage, NilStaysNil) {
  EXPECT_EQ([ZLTUtils roundedImage:nil width:50 height:50], nil);
}

TEST_F(RoundedImage, SquareTargetShowsACircleThatTouchesItsEdges) {
  UIImage *const image = [ZLTUtils roundedImage:white_picture(200, 100).image() width:50 height:50];
  EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(50, 50)));
  expect_circle(image, 25, 25, 25);
}

TEST_F(RoundedImage, WideTargetCutsTheCircleOff) {
  UIImage *const image = [ZLTUtils roundedImage:white_picture(30, 30).image() width:60 height:40];
  EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(60, 40)));
  expect_circle(image, 30, 20, 30);
}

TEST_F(RoundedImage, HighTargetKeepsBandsEmpty) {
  UIImage *const image = [ZLTUtils roundedImage:white_picture(90, 30).image() width:40 height:60];
  EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(40, 60)));
  expect_circle(image, 20, 30, 20);
  const Picture picture(image);
  for (std::size_t x = 0; x < 40; ++x)
    for (const std::size_t y : {0U, 9U, 50U, 59U})
      EXPECT_EQ(picture.at(x, y), (Pixel{0, 0, 0, 0})) << x << ", " << y;
}

TEST_F(RoundedImage, HasTheScaleOfTheScreen) {
  for (const char *scale : {"1", "2", "3"}) {
    setenv("VELTRO_SCREEN_SCALE", scale, 1);
    const double factor = std::atof(scale);
    UIImage *const image = [ZLTUtils roundedImage:white_picture(20, 20).image() width:24 height:24];
    EXPECT_EQ([image scale], factor);
    EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(24, 24)));
    EXPECT_EQ(CGImageGetWidth([image CGImage]), static_cast<std::size_t>(24 * factor));
    expect_circle(image, 12 * factor, 12 * factor, 12 * factor);
  }
}

TEST_F(RoundedImage, SqueezesTheWholeSourceIntoTheTarget) {
  // Blocks of 4 x 2 equal pixels of the source become one pixel of the target each.
  const auto block = [](std::size_t x, std::size_t y) {
    return Pixel{static_cast<int>(x * 5), static_cast<int>(y * 5), static_cast<int>((x * y) % 251),
                 255};
  };
  const Picture source =
      filled(200, 100, [&](std::size_t x, std::size_t y) { return block(x / 4, y / 2); });
  const Picture picture([ZLTUtils roundedImage:source.image() width:50 height:50]);
  int compared = 0;
  for (std::size_t y = 1; y < 49; ++y)
    for (std::size_t x = 1; x < 49; ++x) {
      if (coverage(x, y, 25, 25, 25) < 1)
        continue;
      // The neighbours may shine through, as far as they differ.
      int variation = 0;
      for (const auto &[dx, dy] : {std::pair{-1, 0}, {1, 0}, {0, -1}, {0, 1}})
        variation =
            std::max(variation, difference(block(x, y), block(x + static_cast<std::size_t>(dx),
                                                              y + static_cast<std::size_t>(dy))));
      EXPECT_LE(difference(picture.at(x, y), block(x, y)), 3 + variation / 3) << x << ", " << y;
      ++compared;
    }
  EXPECT_GT(compared, 1500);
}

TEST_F(RoundedImage, MeansOverTheAreaInGreatReductions) {
  // Single lines and single points of the source must not vanish or spread, wherever they lie.
  for (const std::size_t size : {300U, 1000U, 1537U}) {
    const Picture points = filled(size, size, [](std::size_t x, std::size_t y) {
      return (x + y) % 2 == 0 ? kWhite : Pixel{0, 0, 0, 255};
    });
    const Picture lines = filled(size, size, [](std::size_t x, std::size_t) {
      return x % 3 == 0 ? kWhite : Pixel{0, 0, 0, 255};
    });
    const Picture of_points([ZLTUtils roundedImage:points.image() width:24 height:24]);
    const Picture of_lines([ZLTUtils roundedImage:lines.image() width:24 height:24]);
    for (std::size_t y = 6; y < 18; ++y)
      for (std::size_t x = 6; x < 18; ++x) {
        EXPECT_NEAR(of_points.at(x, y).red, 127.5, 6) << size << ": " << x << ", " << y;
        EXPECT_NEAR(of_lines.at(x, y).red, 85, 12) << size << ": " << x << ", " << y;
      }
  }
}

TEST_F(RoundedImage, EnlargesWithoutFadingAtTheEdge) {
  UIImage *const image = [ZLTUtils roundedImage:white_picture(2, 2).image() width:64 height:64];
  expect_circle(image, 32, 32, 32);
}

TEST_F(RoundedImage, KeepsTransparency) {
  const Picture source =
      filled(10, 10, [](std::size_t, std::size_t) { return Pixel{64, 0, 0, 128}; });
  const Picture picture([ZLTUtils roundedImage:source.image() width:20 height:20]);
  EXPECT_LE(difference(picture.at(10, 10), {64, 0, 0, 128}), 1);
}

TEST_F(RoundedImage, TurnsTheSourceUpright) {
  // Red on the left of the stored pixels is red at the top once turned with the clock.
  const Picture source = filled(100, 50, [](std::size_t x, std::size_t) {
    return x < 50 ? Pixel{255, 0, 0, 255} : Pixel{0, 0, 255, 255};
  });
  UIImage *const turned = [UIImage imageWithCGImage:[source.image() CGImage]
                                              scale:2
                                        orientation:UIImageOrientationRight];
  const Picture picture([ZLTUtils roundedImage:turned width:40 height:40]);
  EXPECT_EQ(picture.at(20, 8), (Pixel{255, 0, 0, 255}));
  EXPECT_EQ(picture.at(20, 32), (Pixel{0, 0, 255, 255}));
}

TEST_F(RoundedImage, TargetsWithoutPixelsYieldNil) {
  const float infinite = std::numeric_limits<float>::infinity();
  UIImage *const source = white_picture(4, 4).image();
  for (const auto &[width, height] : std::vector<std::pair<float, float>>{{0, 0},
                                                                          {0, 50},
                                                                          {50, 0},
                                                                          {-50, 50},
                                                                          {50, -50},
                                                                          {-50, -50},
                                                                          {infinite, 50},
                                                                          {50, std::nanf("")},
                                                                          {1e9F, 1e9F},
                                                                          {40000, 1}}) {
    EXPECT_EQ([ZLTUtils roundedImage:source width:width height:height], nil)
        << width << " x " << height;
    EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
  }
}

TEST_F(RoundedImage, AnImageWithoutSizeGivesATransparentOne) {
  UIImage *const empty = [[[UIImage alloc] initWithCGImage:nullptr] autorelease];
  UIImage *const image = [ZLTUtils roundedImage:empty width:8 height:8];
  EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(8, 8)));
  const Picture picture(image);
  for (std::size_t y = 0; y < 8; ++y)
    for (std::size_t x = 0; x < 8; ++x)
      EXPECT_EQ(picture.at(x, y), (Pixel{0, 0, 0, 0}));
}

TEST_F(RoundedImage, LeavesTheCallersContextAsItIs) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(4, 4), NO, 1);
  const CGContextRef mine = UIGraphicsGetCurrentContext();
  [ZLTUtils roundedImage:white_picture(4, 4).image() width:4 height:4];
  [ZLTUtils roundedImage:white_picture(4, 4).image() width:0 height:4];
  EXPECT_EQ(UIGraphicsGetCurrentContext(), mine);
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(Picture(image).at(2, 2), (Pixel{0, 0, 0, 0}));
}

TEST_F(RoundedImage, LeavesTheSourceAsItIs) {
  UIImage *const source = white_picture(4, 4).image();
  const NSUInteger count = [source retainCount];
  @autoreleasepool {
    [ZLTUtils roundedImage:source width:3 height:3];
  }
  EXPECT_EQ([source retainCount], count);
  EXPECT_EQ(Picture(source).at(0, 0), kWhite);
}

TEST_F(RoundedImage, ThreadsDoNotMeet) {
  UIImage *const shared = white_picture(64, 64).image();
  std::vector<std::thread> threads;
  std::vector<int> wrong(32);
  for (std::size_t number = 0; number < wrong.size(); ++number)
    threads.emplace_back([number, shared, &wrong] {
      const auto side = static_cast<float>(10 + number);
      for (int round = 0; round < 20; ++round) {
        @autoreleasepool {
          UIImage *const image = [ZLTUtils roundedImage:shared width:side height:side];
          const Picture picture(image);
          const std::size_t middle = picture.width / 2;
          if ([image size].width != side || !(picture.at(middle, middle) == kWhite) ||
              picture.at(0, 0).alpha != 0 || UIGraphicsGetCurrentContext() != nullptr)
            ++wrong[number];
        }
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(wrong, std::vector<int>(32));
}

} // namespace
