#include "machine/log/log_line.hpp"

#include "machine/text/utf8.hpp"

#include <cstdarg>

namespace veltro::host {
namespace {

// Not NSLog: a program that defines its own to see what it and its libraries log does not see the
// system's lines there, neither on the device.
void log(NSString *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  NSLogv(format, arguments);
  va_end(arguments);
}

} // namespace

void log_line(const std::string &line) {
  @autoreleasepool {
    log(@"%@", string_of(line));
  }
}

} // namespace veltro::host
