// The system log for the plain C++ of the platform.
#pragma once

#include <string>

namespace veltro::host {

enum class LogSink { standard_error, system_log, nowhere };

/// Where log lines go: `VELTRO_LOG` as it stands at this moment, `stderr`, `syslog` or `off`;
/// standard error where it is unset or empty, and where it is something else, which is reported.
LogSink log_sink();

/// One line where NSLog's lines go; `line` is UTF-8.
void log_line(const std::string &line);

/// The same, in the same form, before main, when no message can be sent yet.
void early_log_line(const char *line);

} // namespace veltro::host
