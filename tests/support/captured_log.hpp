// The lines that reach NSLog in this process. The test programs define NSLog themselves, so that a
// line can be compared letter for letter; nothing is printed.
#pragma once

#include <string>
#include <vector>

namespace veltro::test {

/// The lines logged since the process started or since the last clear_log(), oldest first.
std::vector<std::string> logged_lines();

void clear_log();

} // namespace veltro::test
