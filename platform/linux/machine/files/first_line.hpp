// Facts that the kernel and the system keep in files of one line.
#pragma once

#include <string>

namespace veltro::host {

/// The first line of the file at `path` without the spaces and zeros at its ends; empty where the
/// file cannot be read. At most 255 bytes are read.
std::string first_line(const char *path);

} // namespace veltro::host
