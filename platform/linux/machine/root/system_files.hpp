// The system's own files on the device: the frameworks that programs ask for labels. They are part
// of this library and are laid down in a device root that lacks them.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace veltro::host {

struct SystemFile {
  std::string_view path; ///< absolute, on the device
  std::string_view text;
};

/// All of them, those of one folder together.
std::span<const SystemFile> system_files();

/// Lays the folder (an absolute device path of one that holds system files) down under the device
/// root, wholly or not at all; leaves one that is there as it is. Any thread, any number of
/// processes.
void provide_system_folder(std::string_view folder);

/// The folder of the system framework with that bundle identifier, on this machine, or an empty
/// path. Looks at all frameworks and private frameworks under the device root, whoever put them
/// there, after it has provided those of the system files.
std::string system_framework(const std::string &identifier);

} // namespace veltro::host
