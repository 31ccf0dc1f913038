// The time by which animations run.
#pragma once

namespace veltro::host {

/// Seconds that only grow, or the moment at which set_animation_time() stopped them.
double animation_time();

/// Stops the clock at `seconds` after every animation's start; a negative number lets it run again.
void set_animation_time(double seconds);

/// How long an animation that began at `start` has been running.
double animation_age(double start);

} // namespace veltro::host
