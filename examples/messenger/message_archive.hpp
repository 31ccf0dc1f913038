// Between the archive form of a message and the record that the store keeps.
#pragma once

#include "store.hpp"

#import <veltro/ZLTWhatsAppMessage.h>

#include <optional>
#include <string>

namespace veltro::messenger {

constexpr std::size_t kLongestUserIdentifier = 256;

/// The message in a keyed archive of one ZLTWhatsAppMessage; nothing where the bytes are something
/// else, the content is not a text, or the user identifier is missing, empty or too long. A message
/// without a timestamp gets the present time. May raise what Foundation raises.
std::optional<Message> message_in(NSData *archive);

/// The record as components exchange it (autoreleased).
ZLTWhatsAppMessage *archivable(const Message &message);

/// The text as UTF-8; nothing where `object` is no string or has no such form.
std::optional<std::string> utf8(id object);

/// The string of a text in UTF-8 (autoreleased).
NSString *string_of(const std::string &text);

/// A user identifier that requests may name.
std::optional<std::string> user_identifier(id object);

} // namespace veltro::messenger
