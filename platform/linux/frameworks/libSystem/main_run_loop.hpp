// The main queue of this process, on the main thread's run loop.
#pragma once

#include "frameworks/libSystem/main_queue.hpp"

namespace veltro::host {

/// The one main queue; from the first call on the main thread's run loop drains it, in the default
/// and the common modes. Any thread, whether or not the run loop is running already.
MainQueue &main_queue();

/// Whether the caller is on the process's first thread.
bool on_main_thread();

} // namespace veltro::host
