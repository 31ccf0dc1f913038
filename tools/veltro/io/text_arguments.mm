#include "text_arguments.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <span>

namespace veltro::tool {

bool are_text(int count, char **arguments) {
  @autoreleasepool {
    return std::ranges::all_of(
        std::span(arguments, static_cast<std::size_t>(count)),
        [](const char *argument) { return [NSString stringWithUTF8String:argument] != nil; });
  }
}

} // namespace veltro::tool
