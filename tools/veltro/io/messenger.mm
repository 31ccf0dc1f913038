#include "messenger.hpp"

#include "exit.hpp"
#include "whatsapp_processes.hpp"

#import <VeltroHost/VeltroHost.h>
#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Channel.h>

#include <algorithm>

namespace veltro::tool {
namespace {

/// What the messenger keeps under the device root while it serves; nil without one.
NSDictionary *published() {
  NSString *const path =
      [VHDeviceRoot() stringByAppendingPathComponent:
                          @"var/mobile/Library/Preferences/com.norvane.Veltro.Server.plist"];
  return [NSDictionary dictionaryWithContentsOfFile:path];
}

/// The number under `key`; 0 without one.
NSInteger number_in(NSDictionary *list, NSString *key) {
  id number = [list objectForKey:key];
  return [number isKindOfClass:[NSNumber class]] ? [number integerValue] : 0;
}

} // namespace

std::optional<ServingMessenger> serving_messenger() {
  NSDictionary *const list = published();
  const ServingMessenger messenger{static_cast<pid_t>(number_in(list, @"ProcessIdentifier")),
                                   number_in(list, @"Port")};
  if (messenger.process == 0 || messenger.port == 0)
    return std::nullopt;
  // One that was killed leaves its list behind, and its number to another process.
  const std::string root = [VHDeviceRoot() UTF8String];
  const auto runs = [&](const WhatsAppProcess &each) {
    return each.process == messenger.process && each.root.value_or(root) == root;
  };
  return std::ranges::any_of(whatsapp_processes(), runs) ? std::optional(messenger) : std::nullopt;
}

std::string how_to_have_one() {
  return "; veltro messenger start starts one" + what_is_in_the_way();
}

NSData *ask_messenger(char identifier, NSData *payload, std::optional<long> port) {
  [ZLTSocketUtils setSocketPort:port ? *port : number_in(published(), @"Port")];
  return [ZLTUtils sendMessage:identifier messageData:payload];
}

int nothing_came(std::optional<long> port) {
  if (!port && !serving_messenger())
    return failure("no reply, and no messenger serves " + std::string([VHDeviceRoot() UTF8String]) +
                   how_to_have_one());
  if (whatsapp_processes().empty())
    return failure("no reply: no process named WhatsApp runs" + how_to_have_one());
  return failure("empty reply: the request failed, or there was nothing to say");
}

} // namespace veltro::tool
