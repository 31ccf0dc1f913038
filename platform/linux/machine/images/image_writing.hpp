// Pixels to image files, with gdk-pixbuf.
#pragma once

#include "machine/images/bitmap.hpp"

#include <cstdint>
#include <vector>

namespace veltro::host {

/// Empty where the file could not be written.
std::vector<std::uint8_t> write_png(const Pixels &pixels);

/// `quality` from 0 to 1; transparent pixels are laid on white; `orientation` 1 to 8 goes into the
/// metadata. Empty where the file could not be written.
std::vector<std::uint8_t> write_jpeg(const Pixels &pixels, double quality, int orientation);

} // namespace veltro::host
