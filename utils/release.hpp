// The releases that the library tells apart, as single-precision numbers: a release's text converts
// to the very same number, so that 8.2 is at least 8.2, and 8.10 on purpose reads as 8.1.
#pragma once

namespace veltro::release {

inline constexpr float kIOS8 = 8.0F;
inline constexpr float kIOS8_2 = 8.2F;
inline constexpr float kIOS9 = 9.0F;

static_assert(static_cast<double>(kIOS8_2) == 8.19999980926513671875);

constexpr bool is_at_least(float release, float threshold) {
  return release >= threshold;
}

} // namespace veltro::release
