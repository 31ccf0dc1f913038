#pragma once

#include <string>

namespace veltro::host {

/// Whether the regular file at `path` is a shared object, which a process can link while it runs,
/// and no program, script or file of another kind.
bool is_loadable_object(const std::string &path);

} // namespace veltro::host
