#include "machine/log/log_line.hpp"

#import <Foundation/Foundation.h>

namespace veltro::host {

void log_line(const std::string &line) {
  @autoreleasepool {
    NSLog(@"%@", [NSString stringWithUTF8String:line.c_str()]);
  }
}

} // namespace veltro::host
