// Requests to the messenger, for the subcommands that make them.
#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace veltro::tool {

/// Sends one request through the library, to `port` or, where that is not given, to the port that
/// the messenger has published under the device root. The reply is empty on every failure.
NSData *ask_messenger(char identifier, NSData *payload, std::optional<long> port);

/// Says on standard error why a reply may have been empty; returns 1.
int nothing_came(std::optional<long> port);

} // namespace veltro::tool
