// Replacing a file as a whole, so that a reader in any process sees the old one or the new one.
#pragma once

#include <string>
#include <string_view>

namespace veltro::host {

/// Writes `contents` to a new file of mode 0600 beside `path`, to the disk, and renames it to
/// `path`. Whether it could; where not, errno says why, `path` is as it was and nothing is left
/// behind.
bool replace_file(const std::string &path, std::string_view contents);

} // namespace veltro::host
