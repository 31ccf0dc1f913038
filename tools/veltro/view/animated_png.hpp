// Pictures that follow each other, in one PNG file (APNG). What knows no animations shows the
// first.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace veltro::tool {

/// Each of `frames`, PNG files in one size and format, shows for a `rate`th of a second, over and
/// over. Empty where they are not that, or none at all.
std::vector<std::uint8_t> animated_png(std::span<const std::vector<std::uint8_t>> frames,
                                       std::uint16_t rate);

} // namespace veltro::tool
