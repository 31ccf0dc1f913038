// The processes of installed apps.
#pragma once

#include "machine/apps/app_registry.hpp"

#include <string>
#include <sys/types.h>
#include <vector>

namespace veltro::host {

/// Why the app with that bundle identifier cannot be started, as far as looking tells, or an empty
/// text.
std::string launch_obstacle(const std::string &identifier);

/// The processes of the app with that bundle identifier.
std::vector<pid_t> app_processes(const std::string &identifier);

/// Makes sure that the app with that bundle identifier runs; why it does not, or an empty text. At
/// most one process of an app is started, whichever processes of this machine ask at once.
std::string start_app(const std::string &identifier);

} // namespace veltro::host
