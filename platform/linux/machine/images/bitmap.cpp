#include "machine/images/bitmap.hpp"

#include <cstdlib>
#include <cstring>

namespace veltro::host {
namespace {

constexpr std::size_t kBytesAPixel = 4;

bool has_pixels(std::size_t width, std::size_t height) {
  return width > 0 && height > 0 && width <= kMaxSide && height <= kMaxSide;
}

} // namespace

std::shared_ptr<Bitmap> Bitmap::create(std::size_t width, std::size_t height, bool opaque) {
  if (!has_pixels(width, height))
    return nullptr;
  const std::size_t stride = width * kBytesAPixel;
  auto *data = static_cast<unsigned char *>(std::calloc(height, stride));
  if (data == nullptr)
    return nullptr;
  return std::shared_ptr<Bitmap>(new Bitmap(data, width, height, stride, opaque, true));
}

std::shared_ptr<Bitmap> Bitmap::over(void *data, std::size_t width, std::size_t height,
                                     std::size_t stride, bool opaque) {
  if (!has_pixels(width, height) || data == nullptr || stride < width * kBytesAPixel ||
      stride > kMaxSide * kBytesAPixel * 2 || stride % kBytesAPixel != 0)
    return nullptr;
  return std::shared_ptr<Bitmap>(
      new Bitmap(static_cast<unsigned char *>(data), width, height, stride, opaque, false));
}

Bitmap::~Bitmap() {
  if (owned_)
    std::free(data_);
}

std::shared_ptr<Bitmap> Bitmap::copy() const {
  std::shared_ptr<Bitmap> other = create(width_, height_, opaque_);
  if (other == nullptr)
    std::abort();
  for (std::size_t y = 0; y < height_; ++y)
    std::memcpy(other->row(y), row(y), width_ * kBytesAPixel);
  return other;
}

void Pixels::detach() {
  const std::unique_lock lock(mutex_);
  bitmap_ = bitmap_->copy();
}

} // namespace veltro::host
