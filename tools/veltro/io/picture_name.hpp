// Names of pictures.
#pragma once

#include <string>

namespace veltro::tool {

/// Whether the file's name ends as those of another picture format than PNG do.
bool names_another_format(const std::string &path);

} // namespace veltro::tool
