// What the machine says about itself.
#pragma once

#include <string>

namespace veltro::host {

/// The machine's model: the product name that its firmware gives, else the kernel's name of its
/// processor's kind, such as x86_64. Never empty.
std::string machine_model();

/// The machine's own identifier; empty where it has none yet.
std::string machine_identifier();

/// The machine's serial number; empty where there is none or only the administrator may read it.
std::string machine_serial_number();

} // namespace veltro::host
