#pragma once

#include <atomic>

namespace veltro::host {

/// The age of all animations in seconds, where they are stopped; negative where they run.
extern std::atomic<double> animations_stopped_at;

} // namespace veltro::host
