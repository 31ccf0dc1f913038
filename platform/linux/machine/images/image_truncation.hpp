// Whether an image file is all there. gdk-pixbuf fills up what is missing with gray and says
// nothing.
#pragma once

#include <cstdint>
#include <span>

namespace veltro::host {

/// Whether the file is a PNG without its last chunk, a JPEG without its end marker or a BMP shorter
/// than it says. False for anything else.
bool is_truncated(std::span<const std::uint8_t> file);

} // namespace veltro::host
