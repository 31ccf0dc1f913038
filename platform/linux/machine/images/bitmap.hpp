// Pixels: premultiplied, alpha in the high byte of a word, rows from the top. What a context draws
// into and what an image holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace veltro::host {

/// The greatest width and height of a bitmap, in pixels.
constexpr std::size_t kMaxSide = 32767;

class Bitmap {
public:
  /// A bitmap of zeros; null without pixels, beyond `kMaxSide` and where there is no memory for it.
  static std::shared_ptr<Bitmap> create(std::size_t width, std::size_t height, bool opaque);
  /// A bitmap over memory that somebody else keeps; the same limits.
  static std::shared_ptr<Bitmap> over(void *data, std::size_t width, std::size_t height,
                                      std::size_t stride, bool opaque);
  ~Bitmap();
  Bitmap(const Bitmap &) = delete;
  Bitmap &operator=(const Bitmap &) = delete;

  /// Never null: without memory for it the process ends.
  [[nodiscard]] std::shared_ptr<Bitmap> copy() const;
  [[nodiscard]] unsigned char *row(std::size_t y) const { return data_ + y * stride_; }
  [[nodiscard]] unsigned char *data() const { return data_; }
  [[nodiscard]] std::size_t width() const { return width_; }
  [[nodiscard]] std::size_t height() const { return height_; }
  [[nodiscard]] std::size_t stride() const { return stride_; }
  /// Whether the alpha byte means nothing.
  [[nodiscard]] bool opaque() const { return opaque_; }

private:
  Bitmap(unsigned char *data, std::size_t width, std::size_t height, std::size_t stride,
         bool opaque, bool owned)
      : data_(data), width_(width), height_(height), stride_(stride), opaque_(opaque),
        owned_(owned) {}

  unsigned char *data_;
  std::size_t width_;
  std::size_t height_;
  std::size_t stride_;
  bool opaque_;
  bool owned_;
};

/// The pixels of an image. They never change, though they may still be a context's own: a context
/// that draws more has them copied first, so that taking a finished drawing costs nothing.
class Pixels {
public:
  explicit Pixels(std::shared_ptr<Bitmap> bitmap)
      : width(bitmap->width()), height(bitmap->height()), stride(bitmap->stride()),
        opaque(bitmap->opaque()), bitmap_(std::move(bitmap)) {}

  /// Shows the bitmap to `reader`, which must not keep it.
  template <typename Reader> auto read(Reader &&reader) const {
    const std::shared_lock lock(mutex_);
    return reader(static_cast<const Bitmap &>(*bitmap_));
  }

  /// Takes a copy of a bitmap that its context is about to change.
  void detach();

  const std::size_t width;
  const std::size_t height;
  const std::size_t stride;
  const bool opaque;

private:
  mutable std::shared_mutex mutex_;
  std::shared_ptr<Bitmap> bitmap_;
};

} // namespace veltro::host
