#include "published_port.hpp"

#import <Foundation/Foundation.h>

#include <filesystem>
#include <unistd.h>

namespace veltro::messenger {

PublishedPort::PublishedPort(const std::string &device_root, std::uint16_t port) {
  const std::string folder = device_root + "/var/mobile/Library/Preferences";
  path_ = folder + "/com.norvane.Veltro.Server.plist";
  std::error_code failed;
  std::filesystem::create_directories(folder, failed);
  @autoreleasepool {
    NSDictionary *facts = @{@"Port" : @(port), @"ProcessIdentifier" : @(getpid())};
    NSData *bytes = [NSPropertyListSerialization dataWithPropertyList:facts
                                                               format:NSPropertyListXMLFormat_v1_0
                                                              options:0
                                                                error:nullptr];
    published_ = [bytes writeToFile:[NSString stringWithUTF8String:path_.c_str()]
                         atomically:YES] != NO;
  }
}

PublishedPort::~PublishedPort() {
  if (published_)
    unlink(path_.c_str());
}

} // namespace veltro::messenger
