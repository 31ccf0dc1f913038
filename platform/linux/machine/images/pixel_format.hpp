// The formats of bytes that become pixels.
#pragma once

#include "machine/images/bitmap.hpp"

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

/// The pixels in rows of bytes `stride` apart; null where there is no bitmap of that size.
std::shared_ptr<Pixels> convert(std::size_t width, std::size_t height, const std::uint8_t *bytes,
                                std::size_t stride, const PixelFormat &format);

} // namespace veltro::host
