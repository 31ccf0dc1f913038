#include "frameworks/Security/folder.hpp"

#import <Foundation/Foundation.h>

namespace veltro::host::keychain {

void log_trouble(std::string_view file, std::string_view trouble) {
  @autoreleasepool {
    const std::string line = "keychain: " + std::string(file) + " " + std::string(trouble);
    NSLog(@"%s", line.c_str());
  }
}

} // namespace veltro::host::keychain
