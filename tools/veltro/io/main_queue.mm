#include "main_queue.hpp"

#include <dispatch/dispatch.h>

#import <Foundation/Foundation.h>

namespace veltro::tool {

void run_main_queue_for(std::int64_t nanoseconds) {
  bool ran = false;
  bool *const flag = &ran;
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), dispatch_get_main_queue(), ^{
    *flag = true;
  });
  while (!ran) {
    @autoreleasepool {
      [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate distantFuture]];
    }
  }
}

} // namespace veltro::tool
