#include "machine/log/early_log_line.hpp"

#include "machine/log/log_sink.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <syslog.h>
#include <unistd.h>

namespace veltro::host {

void early_log_line(const char *line) {
  switch (log_sink()) {
  case LogSink::nowhere:
    return;
  case LogSink::system_log:
    syslog(LOG_USER | LOG_NOTICE, "%s", line);
    return;
  case LogSink::standard_error:
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    std::array<char, 32> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &parts);
    dprintf(STDERR_FILENO, "%s.%03ld %s[%d:%d] %s\n", date.data(), now.tv_nsec / 1'000'000,
            program_invocation_short_name, getpid(), gettid(), line);
  }
}

} // namespace veltro::host
