#include "machine/log/log_sink.hpp"

#include "machine/device/environment.hpp"

namespace veltro::host {

LogSink log_sink() {
  const std::string_view chosen = variable("VELTRO_LOG");
  if (chosen == "syslog")
    return LogSink::system_log;
  if (chosen == "off")
    return LogSink::nowhere;
  if (!chosen.empty() && chosen != "stderr")
    report_variable("VELTRO_LOG", "stderr, syslog or off");
  return LogSink::standard_error;
}

} // namespace veltro::host
