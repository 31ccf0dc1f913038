// The messenger that serves the device root, and requests to it.
#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <sys/types.h>

namespace veltro::tool {

constexpr const char *kMessagingApp = "net.whatsapp.WhatsApp";

struct ServingMessenger {
  pid_t process;
  long port;
};

/// The messenger that has published its port under the device root and still runs.
std::optional<ServingMessenger> serving_messenger();

/// "; veltro messenger start starts one", and what stands in the way where something does.
std::string how_to_have_one();

/// Sends one request through the library, to `port` or, where that is not given, to the port that
/// the messenger has published under the device root. The reply is empty on every failure.
NSData *ask_messenger(char identifier, NSData *payload, std::optional<long> port);

/// Says on standard error why a reply may have been empty; returns 1.
int nothing_came(std::optional<long> port);

} // namespace veltro::tool
