// How the tool ends: 0, 1 where the operation failed or its result is no, 2 where the command line
// makes no sense.
#pragma once

#include <string_view>

namespace veltro::tool {

/// Prints "veltro: " and `text` as one line on standard error; returns 1.
int failure(std::string_view text);

/// Prints "veltro: " and `text` as one line on standard error; returns 2.
int usage_error(std::string_view text);

} // namespace veltro::tool
