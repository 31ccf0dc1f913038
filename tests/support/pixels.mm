#include "support/pixels.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace veltro::test {

int difference(const Pixel &one, const Pixel &other) {
  return std::max({std::abs(one.red - other.red), std::abs(one.green - other.green),
                   std::abs(one.blue - other.blue), std::abs(one.alpha - other.alpha)});
}

Picture::Picture(UIImage *image)
    : Picture(CGImageGetWidth([image CGImage]), CGImageGetHeight([image CGImage])) {
  const CGImageRef stored = [image CGImage];
  NSData *const data =
      [(NSData *)CGDataProviderCopyData(CGImageGetDataProvider(stored)) autorelease];
  const bool opaque = CGImageGetAlphaInfo(stored) == kCGImageAlphaNoneSkipFirst;
  const auto *bytes = static_cast<const std::uint8_t *>([data bytes]);
  for (std::size_t y = 0; y < height; ++y)
    std::memcpy(&words_[y * width], bytes + y * CGImageGetBytesPerRow(stored), width * 4);
  if (opaque)
    for (std::uint32_t &word : words_)
      word |= 0xFF000000;
}

Pixel Picture::at(std::size_t x, std::size_t y) const {
  const std::uint32_t word = words_.at(y * width + x);
  const auto part = [word](int shift) { return static_cast<int>(word >> shift & 0xFF); };
  return {part(16), part(8), part(0), part(24)};
}

void Picture::set(std::size_t x, std::size_t y, const Pixel &pixel) {
  const auto part = [](int value, int shift) { return static_cast<std::uint32_t>(value) << shift; };
  words_.at(y * width + x) =
      part(pixel.alpha, 24) | part(pixel.red, 16) | part(pixel.green, 8) | part(pixel.blue, 0);
}

UIImage *Picture::image() const {
  NSData *const data = [NSData dataWithBytes:words_.data() length:words_.size() * 4];
  const CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGImageRef image =
      CGImageCreate(width, height, 8, 32, width * 4, space,
                    kCGBitmapByteOrder32Little | CGBitmapInfo{kCGImageAlphaPremultipliedFirst},
                    provider, nullptr, true, kCGRenderingIntentDefault);
  UIImage *const result = [UIImage imageWithCGImage:image];
  CGImageRelease(image);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  return result;
}

} // namespace veltro::test
