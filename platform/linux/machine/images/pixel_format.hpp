// The formats of bytes that become pixels, and the one that pixels have.
#pragma once

#include "machine/images/bitmap.hpp"

#include <cstddef>
#include <cstdint>

namespace veltro::host {

/// Where the components of a pixel stand, and what alpha means.
struct PixelFormat {
  std::uint8_t bytes;
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;
  std::uint8_t alpha;
  bool has_alpha;
  bool premultiplied;

  friend bool operator==(const PixelFormat &, const PixelFormat &) = default;
};

constexpr PixelFormat kRgbBytes{3, 0, 1, 2, 0, false, false};
constexpr PixelFormat kRgbaBytes{4, 0, 1, 2, 3, true, false};
constexpr PixelFormat kGrayBytes{1, 0, 0, 0, 0, false, false};

/// `value` x `alpha` / 255, rounded to the nearest.
constexpr std::uint32_t premultiplied(std::uint32_t value, std::uint32_t alpha) {
  const std::uint32_t product = value * alpha + 128;
  return (product + (product >> 8)) >> 8;
}

/// The component before it was multiplied by `alpha`, which is not 0.
constexpr std::uint32_t unpremultiplied(std::uint32_t value, std::uint32_t alpha) {
  return value >= alpha ? 255 : (value * 255 + alpha / 2) / alpha;
}

/// Fills `bitmap`, which is opaque if `format` has no alpha, from rows of bytes `stride` apart.
void convert(Bitmap &bitmap, const std::uint8_t *bytes, std::size_t stride,
             const PixelFormat &format);

} // namespace veltro::host
