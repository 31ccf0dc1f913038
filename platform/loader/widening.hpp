#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace veltro::loader::objc {

/// The instructions for 64-bit ARM that widen a method's arguments of less than 32 bits in the
/// registers that they come in; none where it takes no such argument. Throws Unloadable for types
/// that cannot be read.
std::vector<uint32_t> widening_instructions(std::string_view method_types);

} // namespace veltro::loader::objc
