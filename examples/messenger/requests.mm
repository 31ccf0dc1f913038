#include "requests.hpp"

#include "message_archive.hpp"
#include "property_list.hpp"

#include <cstring>
#include <limits>

namespace veltro::messenger {
namespace {

constexpr std::uint64_t kArgumentLimit = std::uint64_t{1024} * 1024;
constexpr std::uint64_t kEchoLimit = std::uint64_t{64} * 1024 * 1024;

id chats(Store &store) {
  const auto found = store.chats();
  if (!found)
    return nil;
  NSMutableArray *chats = [NSMutableArray array];
  for (const Chat &chat : *found)
    [chats addObject:@{
      @"UserIdentifier" : string_of(chat.user),
      @"Messages" : @(chat.count),
      @"Unread" : @(chat.unread),
      @"Newest" : archivable(chat.newest),
    }];
  return chats;
}

id read(Store &store, NSDictionary *arguments) {
  const std::optional<std::string> user =
      user_identifier([arguments objectForKey:@"UserIdentifier"]);
  id last = [arguments objectForKey:@"Last"];
  id since = [arguments objectForKey:@"Since"];
  if (!user || (last != nil && (kind<NSNumber>(last) == nil || [last longLongValue] < 0)) ||
      (since != nil && kind<NSDate>(since) == nil))
    return nil;
  const double from = since != nil ? [since timeIntervalSinceReferenceDate]
                                   : -std::numeric_limits<double>::infinity();
  const auto found = store.read(
      *user, last != nil ? [last unsignedLongLongValue] : std::numeric_limits<std::size_t>::max(),
      from);
  if (!found)
    return nil;
  NSMutableArray *messages = [NSMutableArray arrayWithCapacity:found->size()];
  for (const Message &message : *found)
    [messages addObject:archivable(message)];
  return messages;
}

id send(Store &store, NSData *payload) {
  const std::optional<Message> message = message_in(payload);
  const std::optional<std::int64_t> number = message ? store.add(*message) : std::nullopt;
  return number ? @{@"Number" : @(*number)} : nil;
}

id mark_read(Store &store, NSDictionary *arguments) {
  const std::optional<std::string> user =
      user_identifier([arguments objectForKey:@"UserIdentifier"]);
  const std::optional<std::int64_t> marked = user ? store.mark_read(*user) : std::nullopt;
  return marked ? @{@"Marked" : @(*marked)} : nil;
}

id carry_out(Store &store, Request request, NSData *payload) {
  switch (request) {
  case Request::chats:
    return chats(store);
  case Request::read:
    return read(store, kind<NSDictionary>(property_list(payload)));
  case Request::send:
    return send(store, payload);
  case Request::mark_read:
    return mark_read(store, kind<NSDictionary>(property_list(payload)));
  case Request::echo:
    break;
  }
  return nil;
}

} // namespace

std::uint64_t payload_limit(signed char identifier) {
  return Request{identifier} == Request::echo ? kEchoLimit : kArgumentLimit;
}

Bytes reply_to(Store &store, signed char identifier, Bytes payload) {
  const Request request{identifier};
  if (request == Request::echo)
    return payload;
  Bytes reply;
  @autoreleasepool {
    @try {
      NSData *bytes = [NSData dataWithBytesNoCopy:payload.data()
                                           length:payload.size()
                                     freeWhenDone:NO];
      if (id result = carry_out(store, request, bytes)) {
        NSData *archive = [NSKeyedArchiver archivedDataWithRootObject:result];
        reply.resize([archive length]);
        std::memcpy(reply.data(), [archive bytes], reply.size());
      }
    } @catch (NSException *) {
      // Foundation raises at archives that contradict themselves. There is nothing to say to them.
      reply.clear();
    }
  }
  return reply;
}

} // namespace veltro::messenger
