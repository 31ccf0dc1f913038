#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace veltro::loader::objc {

/// Method and variable types as this process writes them: BOOL is a bool to an image ("B") and an
/// unsigned char to GNUstep ("C"). Names of classes and structures stay.
std::string types_for_gcc(std::string_view types);

} // namespace veltro::loader::objc
