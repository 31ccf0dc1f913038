#pragma once

#include "options.hpp"

namespace veltro::messenger {

/// Serves the conversations under the device root until SIGTERM or SIGINT. Returns the process's
/// exit status: 0 after a clean end, 1 where it could not start or had to give up.
int run_messenger(const std::string &device_root, const ServerOptions &options);

} // namespace veltro::messenger
