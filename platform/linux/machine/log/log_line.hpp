// The system log for the plain C++ of the platform.
#pragma once

#include <string>

namespace veltro::host {

/// One line where NSLog's lines go; `line` is UTF-8.
void log_line(const std::string &line);

} // namespace veltro::host
