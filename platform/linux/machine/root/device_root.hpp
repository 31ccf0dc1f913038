// The device root: the folder that plays the device's file system.
#pragma once

#include <string>
#include <string_view>

namespace veltro::host {

/// `VELTRO_ROOT`, else `$XDG_DATA_HOME/veltro`, else `$HOME/.local/share/veltro`, as they stand at
/// this moment: absolute, without a slash at the end. The folder need not exist.
std::string device_root();

/// Where an absolute path of the device lies on this machine.
std::string on_this_machine(std::string_view device_path);

} // namespace veltro::host
