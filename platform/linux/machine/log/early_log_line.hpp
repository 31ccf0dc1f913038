// The system log before main, when no message can be sent yet.
#pragma once

namespace veltro::host {

/// One line where NSLog's lines go (log_sink.hpp), in the same form.
void early_log_line(const char *line);

} // namespace veltro::host
