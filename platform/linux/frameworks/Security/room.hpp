// Room on the disk, where there is little.
#pragma once

#include <cstdint>
#include <string>

namespace veltro::host::keychain {

/// Whether the disk of `folder` has so little room that a small file might not fit.
bool is_nearly_full(const std::string &folder);

/// Sees to it that `file` can grow by `bytes`; false where the disk has no room for them. True also
/// where the file system cannot keep room, or there is no such file.
bool reserve_room(const std::string &file, std::uint64_t bytes);

} // namespace veltro::host::keychain
