#include "support/pixels.hpp"

#import <UIKit/UIKit.h>

#include <CoreGraphics/CoreGraphics.h>

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

using veltro::test::Picture;
using veltro::test::Pixel;

using Bytes = std::vector<std::uint8_t>;

class CGImageTest : public testing::Test {
protected:
  CGImageTest() : rgb_(CGColorSpaceCreateDeviceRGB()), gray_(CGColorSpaceCreateDeviceGray()) {}
  ~CGImageTest() override {
    CGColorSpaceRelease(rgb_);
    CGColorSpaceRelease(gray_);
  }

  /// An image of one row of one pixel in this format.
  UIImage *pixel(const Bytes &bytes, CGBitmapInfo info) {
    return image(1, 1, 32, 4, rgb_, info, bytes);
  }

  /// Nil where there is no such image.
  UIImage *image(size_t width, size_t height, size_t bits, size_t stride, CGColorSpaceRef space,
                 CGBitmapInfo info, const Bytes &bytes, size_t bits_per_component = 8) {
    NSData *const data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
    const CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
    const CGImageRef made =
        CGImageCreate(width, height, bits_per_component, bits, stride, space, info, provider,
                      nullptr, false, kCGRenderingIntentDefault);
    CGDataProviderRelease(provider);
    UIImage *const image = made != nullptr ? [UIImage imageWithCGImage:made] : nil;
    CGImageRelease(made);
    return image;
  }

  CGColorSpaceRef rgb_;
  CGColorSpaceRef gray_;
};

TEST_F(CGImageTest, ReadsEveryOrderOfBytes) {
  const Pixel expected{20, 10, 5, 100};
  const Pixel solid{20, 10, 5, 255};
  const auto at = [this](const Bytes &bytes, CGBitmapInfo info) {
    return Picture(pixel(bytes, info)).at(0, 0);
  };
  EXPECT_EQ(at({20, 10, 5, 100}, kCGImageAlphaPremultipliedLast), expected);
  EXPECT_EQ(at({100, 20, 10, 5}, kCGImageAlphaPremultipliedFirst), expected);
  EXPECT_EQ(
      at({20, 10, 5, 100}, kCGBitmapByteOrder32Big | CGBitmapInfo{kCGImageAlphaPremultipliedLast}),
      expected);
  EXPECT_EQ(at({5, 10, 20, 100},
               kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst}),
            expected);
  EXPECT_EQ(at({100, 5, 10, 20},
               kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedLast}),
            expected);
  EXPECT_EQ(at({51, 102, 204, 100}, kCGImageAlphaLast), (Pixel{20, 40, 80, 100}));
  EXPECT_EQ(at({100, 51, 102, 204}, kCGImageAlphaFirst), (Pixel{20, 40, 80, 100}));
  EXPECT_EQ(at({20, 10, 5, 100}, kCGImageAlphaNoneSkipLast), solid);
  EXPECT_EQ(at({100, 20, 10, 5}, kCGImageAlphaNoneSkipFirst), solid);
  // Components above alpha are taken down to it.
  EXPECT_EQ(at({200, 10, 5, 100}, kCGImageAlphaPremultipliedLast), (Pixel{100, 10, 5, 100}));
}

TEST_F(CGImageTest, ReadsGray) {
  UIImage *const gray = image(2, 2, 8, 3, gray_, kCGImageAlphaNone, {1, 2, 0, 3, 4});
  EXPECT_EQ(Picture(gray).at(1, 0), (Pixel{2, 2, 2, 255}));
  EXPECT_EQ(Picture(gray).at(1, 1), (Pixel{4, 4, 4, 255}));
}

TEST_F(CGImageTest, RefusesWhatItCannotRead) {
  const Bytes four{1, 2, 3, 4};
  EXPECT_NE(pixel(four, kCGImageAlphaLast), nil);
  EXPECT_EQ(pixel(four, kCGImageAlphaNone), nil);
  EXPECT_EQ(pixel(four, 1 << 12 | CGBitmapInfo{kCGImageAlphaLast}), nil);
  EXPECT_EQ(pixel({1, 2, 3}, kCGImageAlphaLast), nil);
  EXPECT_EQ(image(1, 1, 24, 4, rgb_, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(image(1, 1, 32, 4, rgb_, kCGImageAlphaLast, four, 16), nil);
  EXPECT_EQ(image(1, 1, 32, 4, gray_, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(image(1, 1, 32, 4, nullptr, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(image(0, 1, 32, 4, rgb_, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(image(1, 0, 32, 4, rgb_, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(image(1, 2, 32, 4, rgb_, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(image(2, 1, 32, 4, rgb_, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(image(40000, 1, 32, 160000, rgb_, kCGImageAlphaLast, Bytes(160000)), nil);
  EXPECT_EQ(image(1, SIZE_MAX, 32, SIZE_MAX, rgb_, kCGImageAlphaLast, four), nil);
  EXPECT_EQ(CGImageCreate(1, 1, 8, 32, 4, rgb_, kCGImageAlphaLast, nullptr, nullptr, false,
                          kCGRenderingIntentDefault),
            nullptr);
}

TEST_F(CGImageTest, DescribesItself) {
  UIImage *const image = pixel({1, 2, 3, 4}, kCGImageAlphaPremultipliedLast);
  const CGImageRef stored = [image CGImage];
  EXPECT_EQ(CGImageGetWidth(stored), 1U);
  EXPECT_EQ(CGImageGetHeight(stored), 1U);
  EXPECT_EQ(CGImageGetBitsPerComponent(stored), 8U);
  EXPECT_EQ(CGImageGetBitsPerPixel(stored), 32U);
  EXPECT_EQ(CGImageGetBytesPerRow(stored), 4U);
  EXPECT_EQ(CGImageGetBitmapInfo(stored),
            kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst});
  EXPECT_EQ(CGColorSpaceGetModel(CGImageGetColorSpace(stored)), kCGColorSpaceModelRGB);
  EXPECT_EQ(CGImageRetain(stored), stored);
  CGImageRelease(stored);
}

TEST_F(CGImageTest, TakesNull) {
  EXPECT_EQ(CGImageGetWidth(nullptr), 0U);
  EXPECT_EQ(CGImageGetHeight(nullptr), 0U);
  EXPECT_EQ(CGImageGetBitsPerComponent(nullptr), 0U);
  EXPECT_EQ(CGImageGetBitsPerPixel(nullptr), 0U);
  EXPECT_EQ(CGImageGetBytesPerRow(nullptr), 0U);
  EXPECT_EQ(CGImageGetBitmapInfo(nullptr), 0U);
  EXPECT_EQ(CGImageGetAlphaInfo(nullptr), kCGImageAlphaNone);
  EXPECT_EQ(CGImageGetColorSpace(nullptr), nullptr);
  EXPECT_EQ(CGImageGetDataProvider(nullptr), nullptr);
  EXPECT_EQ(CGImageRetain(nullptr), nullptr);
  CGImageRelease(nullptr);
  EXPECT_EQ(CGDataProviderCreateWithCFData(nullptr), nullptr);
  EXPECT_EQ(CGDataProviderCopyData(nullptr), nullptr);
}

TEST_F(CGImageTest, ProvidesGivenDataAgain) {
  NSData *const data = [NSData dataWithBytes:"abc" length:3];
  const CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
  CGDataProviderRelease(CGDataProviderRetain(provider));
  NSData *const again = [(NSData *)CGDataProviderCopyData(provider) autorelease];
  EXPECT_TRUE([again isEqual:data]);
  CGDataProviderRelease(provider);
}

class CGBitmapContextTest : public CGImageTest {};

TEST_F(CGBitmapContextTest, CountsFromTheBottomAndInPixels) {
  Bytes bytes(4 * 6 * 3);
  const CGContextRef context = CGBitmapContextCreate(
      bytes.data(), 4, 3, 8, 24, rgb_,
      kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst});
  EXPECT_TRUE(CGAffineTransformIsIdentity(CGContextGetCTM(context)));
  CGContextSetRGBFillColor(context, 1, 0.2, 0, 1);
  CGContextFillRect(context, CGRectMake(1, 0, 1, 1));
  EXPECT_EQ(CGBitmapContextGetData(context), bytes.data());
  EXPECT_EQ(CGBitmapContextGetWidth(context), 4U);
  EXPECT_EQ(CGBitmapContextGetHeight(context), 3U);
  EXPECT_EQ(CGBitmapContextGetBytesPerRow(context), 24U);
  EXPECT_EQ(Bytes(bytes.begin() + 48 + 4, bytes.begin() + 48 + 8), (Bytes{0, 51, 255, 255}));
  const CGImageRef taken = CGBitmapContextCreateImage(context);
  // The caller may keep writing without a word.
  bytes.assign(bytes.size(), 0);
  UIImage *const image = [UIImage imageWithCGImage:taken];
  CGImageRelease(taken);
  CGContextRelease(context);
  EXPECT_EQ(Picture(image).at(1, 2), (Pixel{255, 51, 0, 255}));
  EXPECT_EQ(Picture(image).at(1, 0), (Pixel{0, 0, 0, 0}));
}

TEST_F(CGBitmapContextTest, DrawsWithAlphaLast) {
  for (const CGImageAlphaInfo alpha : {kCGImageAlphaPremultipliedLast, kCGImageAlphaNoneSkipLast}) {
    Bytes bytes(8);
    const CGContextRef context = CGBitmapContextCreate(bytes.data(), 2, 1, 8, 8, rgb_, alpha);
    EXPECT_EQ(CGBitmapContextGetBitmapInfo(context), kCGBitmapByteOrder32Big | CGBitmapInfo{alpha});
    CGContextSetRGBFillColor(context, 1, 0.2, 0, 1);
    CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
    CGContextDrawImage(context, CGRectMake(1, 0, 1, 1),
                       [pixel({1, 2, 3, 255}, kCGImageAlphaLast) CGImage]);
    EXPECT_EQ(bytes[0], 255);
    EXPECT_EQ(bytes[1], 51);
    EXPECT_EQ(bytes[2], 0);
    EXPECT_EQ(Bytes(bytes.begin() + 4, bytes.begin() + 7), (Bytes{1, 2, 3}));
    const CGImageRef taken = CGBitmapContextCreateImage(context);
    EXPECT_EQ(Picture([UIImage imageWithCGImage:taken]).at(0, 0), (Pixel{255, 51, 0, 255}));
    CGImageRelease(taken);
    CGContextRelease(context);
  }
}

TEST_F(CGBitmapContextTest, DrawsImagesUpwards) {
  // Red over blue.
  UIImage *const two =
      image(1, 2, 32, 4, rgb_, kCGImageAlphaLast, {255, 0, 0, 255, 0, 0, 255, 255});
  const CGContextRef context =
      CGBitmapContextCreate(nullptr, 1, 2, 8, 0, rgb_,
                            kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaNoneSkipFirst});
  CGContextDrawImage(context, CGRectMake(0, 0, 1, 2), [two CGImage]);
  EXPECT_EQ(CGBitmapContextGetBitmapInfo(context),
            kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaNoneSkipFirst});
  CGImageRef taken = CGBitmapContextCreateImage(context);
  EXPECT_EQ(Picture([UIImage imageWithCGImage:taken]).at(0, 0), (Pixel{255, 0, 0, 255}));
  CGImageRelease(taken);
  // Known bytes may change behind the image's back, so it has its own.
  auto *const words = static_cast<std::uint32_t *>(CGBitmapContextGetData(context));
  taken = CGBitmapContextCreateImage(context);
  words[0] = 0;
  EXPECT_EQ(Picture([UIImage imageWithCGImage:taken]).at(0, 0), (Pixel{255, 0, 0, 255}));
  CGImageRelease(taken);
  CGContextRelease(context);
  // In UIKit's coordinates the same call stands on its head.
  UIGraphicsBeginImageContext(CGSizeMake(1, 2));
  CGContextDrawImage(UIGraphicsGetCurrentContext(), CGRectMake(0, 0, 1, 2), [two CGImage]);
  const Picture flipped(UIGraphicsGetImageFromCurrentImageContext());
  UIGraphicsEndImageContext();
  EXPECT_EQ(flipped.at(0, 0), (Pixel{0, 0, 255, 255}));
}

TEST_F(CGBitmapContextTest, RefusesWhatItCannotDrawInto) {
  const CGBitmapInfo good =
      kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst};
  std::uint32_t word = 0;
  const auto refuses = [&](void *data, size_t width, size_t height, size_t bits, size_t stride,
                           CGColorSpaceRef space, CGBitmapInfo info) {
    const CGContextRef context =
        CGBitmapContextCreate(data, width, height, bits, stride, space, info);
    CGContextRelease(context);
    return context == nullptr;
  };
  EXPECT_FALSE(refuses(&word, 1, 1, 8, 4, rgb_, good));
  EXPECT_TRUE(refuses(&word, 1, 1, 16, 4, rgb_, good));
  EXPECT_TRUE(refuses(&word, 1, 1, 8, 4, gray_, good));
  EXPECT_TRUE(refuses(&word, 1, 1, 8, 4, nullptr, good));
  EXPECT_TRUE(refuses(&word, 1, 1, 8, 4, rgb_, kCGImageAlphaLast));
  EXPECT_TRUE(refuses(&word, 1, 1, 8, 3, rgb_, good));
  EXPECT_TRUE(refuses(&word, 1, 1, 8, 6, rgb_, good));
  EXPECT_TRUE(refuses(&word, 0, 1, 8, 4, rgb_, good));
  EXPECT_TRUE(refuses(nullptr, 1, 40000, 8, 0, rgb_, good));
}

TEST_F(CGBitmapContextTest, TakesNull) {
  EXPECT_EQ(CGBitmapContextGetData(nullptr), nullptr);
  EXPECT_EQ(CGBitmapContextGetWidth(nullptr), 0U);
  EXPECT_EQ(CGBitmapContextGetHeight(nullptr), 0U);
  EXPECT_EQ(CGBitmapContextGetBytesPerRow(nullptr), 0U);
  EXPECT_EQ(CGBitmapContextGetBitmapInfo(nullptr), 0U);
  EXPECT_EQ(CGBitmapContextCreateImage(nullptr), nullptr);
}

TEST(CGColor, HasTheComponentsOfItsSpaceAndAlpha) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceGray();
  const CGFloat components[] = {0.25, 0.5};
  const CGColorRef color = CGColorCreate(space, components);
  EXPECT_EQ(CGColorGetColorSpace(color), space);
  CGColorSpaceRelease(CGColorSpaceRetain(space));
  CGColorSpaceRelease(space);
  EXPECT_EQ(CGColorGetNumberOfComponents(color), 2U);
  EXPECT_EQ(CGColorGetComponents(color)[0], 0.25);
  EXPECT_EQ(CGColorGetAlpha(color), 0.5);
  const CGColorRef other = CGColorCreateCopyWithAlpha(color, 2);
  EXPECT_EQ(CGColorGetComponents(other)[0], 0.25);
  EXPECT_EQ(CGColorGetAlpha(other), 1);
  EXPECT_TRUE(CGColorEqualToColor(color, color));
  EXPECT_FALSE(CGColorEqualToColor(color, other));
  EXPECT_FALSE(CGColorEqualToColor(color, nullptr));
  CGColorRelease(other);
  CGColorRelease(color);
}

TEST(CGColor, TakesNull) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceGray();
  const CGFloat components[] = {0.25, 0.5};
  EXPECT_EQ(CGColorCreate(nullptr, components), nullptr);
  EXPECT_EQ(CGColorCreate(space, nullptr), nullptr);
  CGColorSpaceRelease(space);
  EXPECT_EQ(CGColorCreateCopyWithAlpha(nullptr, 1), nullptr);
  EXPECT_EQ(CGColorGetNumberOfComponents(nullptr), 0U);
  EXPECT_EQ(CGColorGetComponents(nullptr), nullptr);
  EXPECT_EQ(CGColorGetAlpha(nullptr), 0);
  EXPECT_EQ(CGColorGetColorSpace(nullptr), nullptr);
  EXPECT_EQ(CGColorSpaceGetNumberOfComponents(nullptr), 0U);
}

} // namespace
