#pragma once

#include "image.hpp"

#include <map>

namespace veltro::loader {

/// The addresses of what the image exports, by the names that Mach-O gives them.
using Exports = std::map<std::string, uint64_t, std::less<>>;

/// Throws Unloadable also for exports of kinds that this loader does not take: those of other
/// libraries under a name of this one, and functions that would choose what is exported.
Exports read_exports(const Image &image);

} // namespace veltro::loader
