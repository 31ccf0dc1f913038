#include "machine/images/bitmap.hpp"

#include <algorithm>
#include <climits>
#include <cstdlib>

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

Bitmap create_bitmap(std::size_t width, std::size_t height, bool opaque, void *data,
                     std::size_t stride) {
  const std::size_t least = width * 4;
  if (data == nullptr)
    stride = least;
  if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide || stride < least ||
      stride > INT_MAX || stride % 4 != 0)
    return {};
  if (data != nullptr)
    return {{static_cast<std::uint32_t *>(data), [](void *) {}}, width, height, stride, opaque};
  auto *const words = static_cast<std::uint32_t *>(std::calloc(height, stride));
  return {{words, std::free}, width, height, stride, opaque};
}

Bitmap clone(const Bitmap &bitmap, bool swapped) {
  Bitmap other = create_bitmap(bitmap.width, bitmap.height, bitmap.opaque);
  if (other.words == nullptr)
    std::abort();
  for (std::size_t y = 0; y < bitmap.height; ++y)
    if (swapped)
      std::transform(bitmap.row(y), bitmap.row(y) + bitmap.width, other.row(y),
                     [](std::uint32_t word) {
                       return (word & 0xFF00FF00) | (word >> 16 & 0xFF) | (word & 0xFF) << 16;
                     });
    else
      std::copy_n(bitmap.row(y), bitmap.width, other.row(y));
  return other;
}

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
