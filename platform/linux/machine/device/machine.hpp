// What the machine says about itself.
#pragma once

#include <string>

namespace veltro::host {

/// The first line of the file at `path`, 255 bytes of it at most, without the spaces and zeros at
/// its ends; empty where the file cannot be read.
std::string first_line(const char *path);

/// The machine's model: the product name that its firmware gives, else the kernel's name of its
/// processor's kind, such as x86_64. Never empty.
std::string machine_model();

/// The machine's own identifier; empty where it has none yet.
std::string machine_identifier();

/// The machine's serial number; empty where there is none or only the administrator may read it.
std::string machine_serial_number();

} // namespace veltro::host
