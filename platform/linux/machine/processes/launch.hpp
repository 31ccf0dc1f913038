// Starting a program the way the system starts an app: detached.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace veltro::host {

struct Launch {
  pid_t process; ///< the process, or 0 where it could not be started
  int error;     ///< the errno of what went wrong, else 0
};

/// Starts `executable` (absolute) with this process's environment and each of `changes`
/// (NAME=value) instead of its own: in a session of its own, in the folder /, with /dev/null as its
/// standard descriptors and no others, no signal blocked or ignored, and no parent to wait for it.
/// Returns once the program has taken the place of this one's copy. Any thread; this process's own
/// children and their signals are not disturbed.
Launch launch(const std::string &executable, const std::vector<std::string> &changes);

} // namespace veltro::host
