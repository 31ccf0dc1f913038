// The lines that reach NSLog in this process, and the platform's. The test programs define NSLog
// and NSLogv themselves, so that a line can be compared letter for letter; nothing is printed.
#pragma once

#include <string>
#include <vector>

namespace veltro::test {

/// The lines logged since the process started or since the last clear_log(), oldest first.
std::vector<std::string> logged_lines();

/// Those of them that came through NSLog: the platform's own do not.
std::vector<std::string> lines_of_nslog();

void clear_log();

} // namespace veltro::test
