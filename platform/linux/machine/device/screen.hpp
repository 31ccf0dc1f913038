// The screen of the device that this machine plays.
#pragma once

namespace veltro::host {

/// Pixels a point: `VELTRO_SCREEN_SCALE` as it stands at this moment, 1, 2 or 3; 2 where it is
/// unset or empty, and where it is something else, which is reported.
int screen_scale();

} // namespace veltro::host
