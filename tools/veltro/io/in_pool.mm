#include "in_pool.hpp"

#import <Foundation/Foundation.h>

namespace veltro::tool {

int in_pool(const std::function<int()> &action) {
  @autoreleasepool {
    return action();
  }
}

} // namespace veltro::tool
