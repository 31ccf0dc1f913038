// Where log lines go.
#pragma once

namespace veltro::host {

enum class LogSink { standard_error, system_log, nowhere };

/// `VELTRO_LOG` as it stands at this moment: `stderr`, `syslog` or `off`; standard error where it
/// is unset or empty, and where it is something else, which is reported.
LogSink log_sink();

} // namespace veltro::host
