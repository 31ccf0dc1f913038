#include "machine/images/pixel_format.hpp"

#include <algorithm>

namespace veltro::host {
namespace {

constexpr std::uint32_t word(std::uint32_t alpha, std::uint32_t red, std::uint32_t green,
                             std::uint32_t blue) {
  return alpha << 24 | red << 16 | green << 8 | blue;
}

// The format is a constant of each loop, so that the compiler can make the loop over the common
// formats fast.
template <typename Alpha>
void each_pixel(Bitmap &bitmap, const std::uint8_t *bytes, std::size_t stride, PixelFormat format,
                Alpha &&pixel) {
  for (std::size_t y = 0; y < bitmap.height(); ++y) {
    const std::uint8_t *from = bytes + y * stride;
    auto *to = reinterpret_cast<std::uint32_t *>(bitmap.row(y));
    for (std::size_t x = 0; x < bitmap.width(); ++x, from += format.bytes)
      to[x] = pixel(from[format.red], from[format.green], from[format.blue], from[format.alpha]);
  }
}

std::uint32_t solid(std::uint32_t red, std::uint32_t green, std::uint32_t blue, std::uint32_t) {
  return word(255, red, green, blue);
}

std::uint32_t straight(std::uint32_t red, std::uint32_t green, std::uint32_t blue,
                       std::uint32_t alpha) {
  return word(alpha, premultiplied(red, alpha), premultiplied(green, alpha),
              premultiplied(blue, alpha));
}

// A component above alpha is no colour; cairo would carry it into its neighbours.
std::uint32_t ready(std::uint32_t red, std::uint32_t green, std::uint32_t blue,
                    std::uint32_t alpha) {
  return word(alpha, std::min(red, alpha), std::min(green, alpha), std::min(blue, alpha));
}

} // namespace

void convert(Bitmap &bitmap, const std::uint8_t *bytes, std::size_t stride,
             const PixelFormat &format) {
  if (format == kRgbBytes)
    each_pixel(bitmap, bytes, stride, kRgbBytes, solid);
  else if (format == kRgbaBytes)
    each_pixel(bitmap, bytes, stride, kRgbaBytes, straight);
  else if (!format.has_alpha)
    each_pixel(bitmap, bytes, stride, format, solid);
  else if (format.premultiplied)
    each_pixel(bitmap, bytes, stride, format, ready);
  else
    each_pixel(bitmap, bytes, stride, format, straight);
}

} // namespace veltro::host
