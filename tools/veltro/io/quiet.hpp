#pragma once

namespace veltro::tool {

/// From now on the lines that this process logs go nowhere. The programs that it starts are told
/// nothing of it.
void leave_log_lines_out();

} // namespace veltro::tool
