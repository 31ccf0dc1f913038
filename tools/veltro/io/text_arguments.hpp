// The command line as text.
#pragma once

namespace veltro::tool {

/// Whether every argument is UTF-8. Foundation ends a process that was given another one.
bool are_text(int count, char **arguments);

} // namespace veltro::tool
