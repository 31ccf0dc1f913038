// An end to waiting, for calls that have none.
#pragma once

#include <string>

namespace veltro::tool {

/// Ends the process with status 1 and "veltro: " and `complaint` as one line on standard error,
/// once so many seconds, more than 0, are over.
void fail_after(double seconds, const std::string &complaint);

} // namespace veltro::tool
