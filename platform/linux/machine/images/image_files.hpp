// Image files to pixels and back, with gdk-pixbuf.
#pragma once

#include "machine/images/bitmap.hpp"

#include <limits>
#include <span>
#include <string>
#include <vector>

namespace veltro::host {

struct ReadOptions {
  /// A file whose image has more pixels is refused before memory is taken for them.
  std::size_t max_pixels = std::numeric_limits<std::size_t>::max();
  /// Where it is not 0, a JPEG may be read at a half, a quarter or an eighth of its size, as long
  /// as no side falls below this many pixels.
  std::size_t least_side = 0;
  /// Reads the size of the stored image, and no pixels.
  bool size_only = false;
};

struct ImageFile {
  /// Of the stored image, in pixels; 0 where it is not known.
  std::size_t width = 0;
  std::size_t height = 0;
  /// Null where the file could not be read.
  std::shared_ptr<Pixels> pixels;
  /// How to stand upright, 1 to 8 in the numbering of TIFF and EXIF.
  int orientation = 1;
  /// What is wrong with the file, in words; empty where nothing is.
  std::string problem;
};

/// Whether the file is a PNG without its last chunk, a JPEG without its end marker or a BMP shorter
/// than it says, whose pixels gdk-pixbuf fills up with gray. False for anything else.
bool is_truncated(std::span<const std::uint8_t> file);

/// Reads the whole file; one that ends early is not read.
ImageFile read_image(std::span<const std::uint8_t> file, const ReadOptions &options);

/// Empty where the file could not be written.
std::vector<std::uint8_t> write_png(const Pixels &pixels);

/// `quality` from 0 to 1; transparent pixels are laid on white; `orientation` 1 to 8 goes into the
/// metadata. Empty where the file could not be written.
std::vector<std::uint8_t> write_jpeg(const Pixels &pixels, double quality, int orientation);

} // namespace veltro::host
