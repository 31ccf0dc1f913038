#pragma once

#include "memory.hpp"
#include "objc_metadata.hpp"

namespace veltro::loader::objc {

/// Throws Unloadable for classes that the runtime would not take: one whose name is taken, or whose
/// superclass is missing.
void check_registration(const Metadata &metadata);

/// Tells GCC's runtime of what check_registration() has let pass, and points the image's selectors,
/// classes, protocols and constant strings to what the runtime has.
void register_metadata(const Metadata &metadata, const Memory &memory);

} // namespace veltro::loader::objc
