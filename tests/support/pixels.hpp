// The pixels of a UIImage, for tests: read through the platform's own interface.
#pragma once

#import <UIKit/UIImage.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace veltro::test {

/// Premultiplied components, 0 to 255.
struct Pixel {
  int red = 0;
  int green = 0;
  int blue = 0;
  int alpha = 0;

  friend bool operator==(const Pixel &, const Pixel &) = default;
};

inline void PrintTo(const Pixel &pixel, std::ostream *out) {
  *out << "rgba(" << pixel.red << ", " << pixel.green << ", " << pixel.blue << ", " << pixel.alpha
       << ")";
}

/// The greatest difference of a component.
int difference(const Pixel &one, const Pixel &other);

class Picture {
public:
  Picture(std::size_t width, std::size_t height)
      : width(width), height(height), words_(width * height) {}
  /// The stored pixels of the image, which must not be null.
  explicit Picture(UIImage *image);

  [[nodiscard]] Pixel at(std::size_t x, std::size_t y) const;
  void set(std::size_t x, std::size_t y, const Pixel &pixel);
  /// An image at scale 1 of these pixels (autoreleased).
  [[nodiscard]] UIImage *image() const;

  const std::size_t width;
  const std::size_t height;

private:
  std::vector<std::uint32_t> words_;
};

} // namespace veltro::test
