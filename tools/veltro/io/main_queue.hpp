// The tool's main thread as the main queue's.
#pragma once

#include <cstdint>

namespace veltro::tool {

/// Runs the main queue until all that is due within so many nanoseconds has run.
void run_main_queue_for(std::int64_t nanoseconds);

} // namespace veltro::tool
