#include "support/captured_log.hpp"

#import <Foundation/Foundation.h>

#include <cstdarg>
#include <mutex>

namespace {

std::mutex mutex;
std::vector<std::string> lines;

} // namespace

extern "C" void NSLog(NSString *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  @autoreleasepool {
    NSString *line = [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease];
    const std::lock_guard lock(mutex);
    lines.emplace_back([line UTF8String]);
  }
  va_end(arguments);
}

namespace veltro::test {

std::vector<std::string> logged_lines() {
  const std::lock_guard lock(mutex);
  return lines;
}

void clear_log() {
  const std::lock_guard lock(mutex);
  lines.clear();
}

} // namespace veltro::test
