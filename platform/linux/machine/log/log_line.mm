#include "machine/log/log_line.hpp"

#include "machine/device/environment.hpp"
#include "machine/text/utf8.hpp"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <syslog.h>
#include <unistd.h>

namespace veltro::host {
namespace {

// Not NSLog: a program that defines its own to see what it and its libraries log does not see the
// system's lines there, as on the device.
void log(NSString *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  NSLogv(format, arguments);
  va_end(arguments);
}

} // namespace

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

void log_line(const std::string &line) {
  @autoreleasepool {
    log(@"%@", string_of(line));
  }
}

void early_log_line(const char *line) {
  const LogSink sink = log_sink();
  if (sink == LogSink::system_log)
    syslog(LOG_USER | LOG_NOTICE, "%s", line);
  if (sink != LogSink::standard_error)
    return;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  localtime_r(&now.tv_sec, &parts);
  std::array<char, 32> date{};
  std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &parts);
  dprintf(STDERR_FILENO, "%s.%03ld %s[%d:%d] %s\n", date.data(), now.tv_nsec / 1'000'000,
          program_invocation_short_name, getpid(), gettid(), line);
}

} // namespace veltro::host
