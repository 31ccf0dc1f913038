// Pixels: premultiplied, alpha in the high byte of a word, rows from the top. What a context draws
// into and what an image holds, and the formats of bytes that become pixels.
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

/// Its copies share the words.
struct Bitmap {
  /// Null where there is no such bitmap: without pixels, beyond `kMaxSide` or without memory.
  std::shared_ptr<std::uint32_t> words;
  std::size_t width = 0;
  std::size_t height = 0;
  /// From one row to the next, in bytes.
  std::size_t stride = 0;
  /// Whether the alpha byte means nothing.
  bool opaque = false;

  [[nodiscard]] std::uint32_t *row(std::size_t y) const { return words.get() + y * (stride / 4); }
};

/// A bitmap of zeros, or one over `data` of that stride, which somebody else keeps.
Bitmap create_bitmap(std::size_t width, std::size_t height, bool opaque, void *data = nullptr,
                     std::size_t stride = 0);

/// The same pixels in words of their own, with `swapped` red and blue in each other's place.
/// Without memory for it the process ends.
Bitmap clone(const Bitmap &bitmap, bool swapped);

/// The pixels of an image. They never change, though they may still be a context's own: a context
/// that draws more has them copied first, so that taking a finished drawing costs nothing.
class Pixels {
public:
  explicit Pixels(Bitmap bitmap) : bitmap_(std::move(bitmap)) {}

  /// Without its words, of which `read` tells.
  [[nodiscard]] const Bitmap &shape() const { return bitmap_; }

  /// Shows the bitmap to `reader`, which must not keep it.
  template <typename Reader> auto read(Reader &&reader) const {
    const std::shared_lock lock(mutex_);
    return reader(bitmap_);
  }

  /// Takes a copy of words that their context is about to change.
  void detach() {
    const std::unique_lock lock(mutex_);
    bitmap_.words = clone(bitmap_, false).words;
  }

private:
  mutable std::shared_mutex mutex_;
  Bitmap bitmap_;
};

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
