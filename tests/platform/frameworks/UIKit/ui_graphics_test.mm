#include "support/pixels.hpp"

#import <UIKit/UIKit.h>

#include <CoreGraphics/CoreGraphics.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

namespace {

using veltro::test::Picture;
using veltro::test::Pixel;

/// The size of the picture that a context of this size and scale makes, in pixels; 0 x 0 where
/// there is none.
std::pair<std::size_t, std::size_t> pixels(CGFloat width, CGFloat height, CGFloat scale) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(width, height), NO, scale);
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  EXPECT_EQ(image == nil, UIGraphicsGetCurrentContext() == nullptr);
  UIGraphicsEndImageContext();
  return {CGImageGetWidth([image CGImage]), CGImageGetHeight([image CGImage])};
}

using Size = std::pair<std::size_t, std::size_t>;

TEST(UIGraphics, HasNoContextAtFirst) {
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
  EXPECT_EQ(UIGraphicsGetImageFromCurrentImageContext(), nil);
  UIGraphicsEndImageContext();
  UIGraphicsPopContext();
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
}

TEST(UIGraphics, MakesAsManyPixelsAsTheScaleAsksFor) {
  EXPECT_EQ(pixels(10, 20, 1), (Size{10, 20}));
  EXPECT_EQ(pixels(10, 20, 3), (Size{30, 60}));
  EXPECT_EQ(pixels(10.2, 20.6, 2), (Size{21, 42}));
  EXPECT_EQ(pixels(0.1, 0.1, 1), (Size{1, 1}));
  for (const char *scale : {"1", "2", "3"}) {
    setenv("VELTRO_SCREEN_SCALE", scale, 1);
    const auto factor = static_cast<std::size_t>(std::atoi(scale));
    EXPECT_EQ(pixels(10, 20, 0), (Size{10 * factor, 20 * factor}));
  }
}

TEST(UIGraphics, MeasuresTheImageInPoints) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(7, 5), NO, 3);
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ([image scale], 3);
  EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(7, 5)));
}

TEST(UIGraphics, PlainContextsHaveScaleOne) {
  UIGraphicsBeginImageContext(CGSizeMake(7, 5));
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ([image scale], 1);
  EXPECT_EQ(CGImageGetWidth([image CGImage]), 7U);
  EXPECT_EQ(Picture(image).at(0, 0), (Pixel{0, 0, 0, 0}));
}

TEST(UIGraphics, OpaqueContextsAreBlack) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(1, 1), YES, 1);
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  EXPECT_EQ(CGImageGetAlphaInfo([image CGImage]), kCGImageAlphaNoneSkipFirst);
  EXPECT_EQ(Picture([UIImage imageWithData:UIImagePNGRepresentation(image)]).at(0, 0),
            (Pixel{0, 0, 0, 255}));
}

TEST(UIGraphics, SizesOfNoUseGiveNoContext) {
  const CGFloat infinite = std::numeric_limits<CGFloat>::infinity();
  for (const CGFloat side : {0.0, -1.0, 32768.0, 1e300, infinite, -infinite, std::nan("")}) {
    EXPECT_EQ(pixels(side, 5, 1), (Size{0, 0})) << side;
    EXPECT_EQ(pixels(5, side, 1), (Size{0, 0})) << side;
  }
  EXPECT_EQ(pixels(32767, 1, 1), (Size{32767, 1}));
  EXPECT_EQ(pixels(20000, 1, 2), (Size{0, 0}));
  EXPECT_EQ(pixels(-5, -5, -1), (Size{0, 0}));
  EXPECT_EQ(pixels(5, 5, std::nan("")), (Size{0, 0}));
}

TEST(UIGraphics, ContextsThatAreNoneStillStackUp) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(2, 2), NO, 1);
  const CGContextRef outer = UIGraphicsGetCurrentContext();
  UIGraphicsBeginImageContextWithOptions(CGSizeZero, NO, 1);
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
  UIGraphicsEndImageContext();
  EXPECT_EQ(UIGraphicsGetCurrentContext(), outer);
  UIGraphicsEndImageContext();
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
}

TEST(UIGraphics, PushedContextsAreNoImageContexts) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGContextRef bitmap = CGBitmapContextCreate(
      nullptr, 2, 2, 8, 0, space,
      kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst});
  CGColorSpaceRelease(space);
  UIGraphicsPushContext(bitmap);
  CGContextRelease(bitmap);
  EXPECT_EQ(UIGraphicsGetCurrentContext(), bitmap);
  EXPECT_EQ(UIGraphicsGetImageFromCurrentImageContext(), nil);
  UIGraphicsEndImageContext();
  EXPECT_EQ(UIGraphicsGetCurrentContext(), bitmap);
  [[UIColor redColor] setFill];
  UIRectFill(CGRectMake(0, 0, 1, 1));
  // y counts upwards in this one.
  EXPECT_EQ(static_cast<const std::uint32_t *>(CGBitmapContextGetData(bitmap))[2], 0xFFFF0000U);
  UIGraphicsPopContext();
  EXPECT_EQ(UIGraphicsGetCurrentContext(), nullptr);
}

TEST(UIGraphics, EveryThreadHasItsOwnStack) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(1, 1), NO, 1);
  const CGContextRef mine = UIGraphicsGetCurrentContext();
  std::atomic<int> wrong = 0;
  std::atomic<int> waiting = 32;
  std::vector<std::thread> threads;
  for (int number = 0; number < 32; ++number)
    threads.emplace_back([&wrong, &waiting, number] {
      @autoreleasepool {
        if (UIGraphicsGetCurrentContext() != nullptr)
          ++wrong;
        UIGraphicsBeginImageContextWithOptions(CGSizeMake(number + 1, 1), NO, 1);
        --waiting;
        while (waiting > 0)
          std::this_thread::yield();
        CGContextSetRGBFillColor(UIGraphicsGetCurrentContext(), number / 51.0, 0, 0, 1);
        UIRectFill(CGRectMake(0, 0, 99, 99));
        UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
        const Picture picture(image);
        if (picture.width != static_cast<std::size_t>(number) + 1 ||
            picture.at(0, 0) != Pixel{number * 5, 0, 0, 255})
          ++wrong;
        // Half of them leave their context behind; it goes with the thread.
        if (number % 2 == 0)
          UIGraphicsEndImageContext();
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(UIGraphicsGetCurrentContext(), mine);
  UIGraphicsEndImageContext();
}

TEST(UIScreen, HasTheScaleThatTheEnvironmentChooses) {
  EXPECT_EQ([UIScreen mainScreen], [UIScreen mainScreen]);
  for (const auto &[chosen, scale, width] : {std::tuple{"1", 1, 320},
                                             {"2", 2, 375},
                                             {"3", 3, 414},
                                             {"", 2, 375},
                                             {"4", 2, 375},
                                             {"1.5", 2, 375},
                                             {"x", 2, 375}}) {
    setenv("VELTRO_SCREEN_SCALE", chosen, 1);
    EXPECT_EQ([[UIScreen mainScreen] scale], scale) << chosen;
    EXPECT_EQ([[UIScreen mainScreen] bounds].size.width, width) << chosen;
  }
  unsetenv("VELTRO_SCREEN_SCALE");
  EXPECT_EQ([[UIScreen mainScreen] scale], 2);
}

TEST(UIGraphics, StructuresAreEncodedAsOnTheDevice) {
  EXPECT_STREQ(@encode(CGRect), sizeof(CGFloat) == 8 ? "{CGRect={CGPoint=dd}{CGSize=dd}}"
                                                     : "{CGRect={CGPoint=ff}{CGSize=ff}}");
}

} // namespace
