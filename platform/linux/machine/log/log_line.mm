#include "machine/log/log_line.hpp"

#include "machine/text/utf8.hpp"

namespace veltro::host {

void log_line(const std::string &line) {
  @autoreleasepool {
    NSLog(@"%@", string_of(line));
  }
}

} // namespace veltro::host
