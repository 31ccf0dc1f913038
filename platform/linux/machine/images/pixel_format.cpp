#include "machine/images/pixel_format.hpp"

#include <algorithm>

namespace veltro::host {
namespace {

/// `value` x `alpha` / 255, rounded to the nearest.
std::uint32_t multiplied(std::uint32_t value, std::uint32_t alpha) {
  const std::uint32_t product = value * alpha + 128;
  return (product + (product >> 8)) >> 8;
}

// A component above alpha is no colour; cairo would carry it into its neighbours.
std::uint32_t bounded(std::uint32_t value, std::uint32_t alpha) {
  return std::min(value, alpha);
}

template <std::uint32_t component(std::uint32_t value, std::uint32_t alpha)>
void fill(const Bitmap &bitmap, const std::uint8_t *bytes, std::size_t stride, PixelFormat format) {
  for (std::size_t y = 0; y < bitmap.height; ++y) {
    const std::uint8_t *from = bytes + y * stride;
    std::uint32_t *const to = bitmap.row(y);
    for (std::size_t x = 0; x < bitmap.width; ++x, from += format.bytes) {
      const std::uint32_t alpha = format.has_alpha ? from[format.alpha] : 255;
      to[x] = alpha << 24 | component(from[format.red], alpha) << 16 |
              component(from[format.green], alpha) << 8 | component(from[format.blue], alpha);
    }
  }
}

} // namespace

std::shared_ptr<Pixels> convert(std::size_t width, std::size_t height, const std::uint8_t *bytes,
                                std::size_t stride, const PixelFormat &format) {
  Bitmap bitmap = create_bitmap(width, height, !format.has_alpha);
  if (bitmap.words == nullptr)
    return nullptr;
  // Constants for the formats of files, so that the compiler makes their loops fast.
  if (format == kRgbBytes)
    fill<bounded>(bitmap, bytes, stride, kRgbBytes);
  else if (format == kRgbaBytes)
    fill<multiplied>(bitmap, bytes, stride, kRgbaBytes);
  else if (format.premultiplied || !format.has_alpha)
    fill<bounded>(bitmap, bytes, stride, format);
  else
    fill<multiplied>(bitmap, bytes, stride, format);
  return std::make_shared<Pixels>(std::move(bitmap));
}

} // namespace veltro::host
