#include "support/captured_log.hpp"

#import <Foundation/Foundation.h>

#include <cstdarg>
#include <mutex>

namespace {

std::mutex mutex;
std::vector<std::string> all;
std::vector<std::string> by_nslog;

void keep(NSString *format, va_list arguments, bool through_nslog) {
  @autoreleasepool {
    NSString *line = [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease];
    const std::lock_guard lock(mutex);
    all.emplace_back([line UTF8String]);
    if (through_nslog)
      by_nslog.push_back(all.back());
  }
}

std::vector<std::string> copy_of(const std::vector<std::string> &lines) {
  const std::lock_guard lock(mutex);
  return lines;
}

} // namespace

extern "C" {

void NSLogv(NSString *format, va_list arguments) {
  keep(format, arguments, false);
}

void NSLog(NSString *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  keep(format, arguments, true);
  va_end(arguments);
}

} // extern "C"

namespace veltro::test {

std::vector<std::string> logged_lines() {
  return copy_of(all);
}

std::vector<std::string> lines_of_nslog() {
  return copy_of(by_nslog);
}

void clear_log() {
  const std::lock_guard lock(mutex);
  all.clear();
  by_nslog.clear();
}

} // namespace veltro::test
