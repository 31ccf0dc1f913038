#include "messenger.hpp"

#include "exit.hpp"

#import <VeltroHost/VeltroHost.h>
#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Channel.h>

namespace veltro::tool {
namespace {

/// The number under `Port` in the list that the messenger keeps while it serves; 0 without one.
NSInteger published_port() {
  NSString *path =
      [VHDeviceRoot() stringByAppendingPathComponent:
                          @"var/mobile/Library/Preferences/com.norvane.Veltro.Server.plist"];
  id port = [[NSDictionary dictionaryWithContentsOfFile:path] objectForKey:@"Port"];
  return [port isKindOfClass:[NSNumber class]] ? [port integerValue] : 0;
}

} // namespace

NSData *ask_messenger(char identifier, NSData *payload, std::optional<long> port) {
  [ZLTSocketUtils setSocketPort:port ? *port : published_port()];
  return [ZLTUtils sendMessage:identifier messageData:payload];
}

int nothing_came(std::optional<long> port) {
  if (!port && published_port() == 0)
    return answered_no("no reply, and no messenger has published its port under " +
                       std::string([VHDeviceRoot() UTF8String]));
  return answered_no("empty reply: the request failed, or there was nothing to say");
}

} // namespace veltro::tool
