// Where NSLog's lines go: VELTRO_LOG is `stderr`, `syslog` or `off`, looked at for every line. The
// lines themselves are GNUstep's: on standard error with its date and process before the text, in
// the system log, which has its own, without.

#include "machine/files/file.hpp"
#include "machine/log/log_line.hpp"

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>
#include <syslog.h>
#include <unistd.h>

namespace {

/// The text of a line that GNUstep begins with the date, the process and "[process id:thread] ".
std::string_view text_of(std::string_view line) {
  const std::string process = "[" + std::to_string(getpid()) + ":";
  const std::size_t end = line.find("] ", line.find(process));
  return end == std::string_view::npos ? line : line.substr(end + 2);
}

void print(NSString *message) {
  using veltro::host::LogSink;
  const LogSink sink = veltro::host::log_sink();
  if (sink == LogSink::nowhere)
    return;
  // Half a surrogate pair has no UTF-8: it is left out.
  NSData *const utf8 = [message dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  const std::string_view line(static_cast<const char *>([utf8 bytes]), [utf8 length]);
  if (sink == LogSink::system_log)
    syslog(LOG_USER | LOG_NOTICE, "%s", std::string(text_of(line)).c_str());
  else
    veltro::host::write_all(_NSLogDescriptor, line);
}

// A plain pointer that GNUstep fills in itself where nothing else did: no message is sent here.
[[maybe_unused]] NSLog_printf_handler *const installed = _NSLog_printf_handler = print;

} // namespace
