// The screen of the device that this machine plays.
#pragma once

namespace veltro::host {

/// Pixels a point: `VELTRO_SCREEN_SCALE` as it stands at this moment where that is 1, 2 or 3,
/// else 2.
int screen_scale();

} // namespace veltro::host
