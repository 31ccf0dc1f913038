#include "machine/images/bitmap.hpp"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace veltro::host {

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

} // namespace veltro::host
