#pragma once

#include <cstddef>

namespace veltro::loader {

/// Memory for instructions that this loader writes, which stays for good. Throws Unloadable.
void *map_code(size_t size);

/// To be called when they are written, before they run.
void protect_code(void *mapped, size_t size);

} // namespace veltro::loader
