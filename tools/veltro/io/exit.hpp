// How the tool ends: 0, 1 where the operation failed or its result is no, 2 where the command line
// makes no sense.
#pragma once

#include <string_view>

namespace veltro::tool {

/// Prints "veltro: " and `text` as one line on standard error; returns 1.
int failure(std::string_view text);

/// Prints "veltro: " and `text` as one line on standard error; returns 2.
int usage_error(std::string_view text);

/// `status`, once all is written to standard output; 1 where it cannot be, with a line on standard
/// error unless the reader has gone.
int flushed(int status);

} // namespace veltro::tool
