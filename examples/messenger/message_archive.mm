#include "message_archive.hpp"

#include "property_list.hpp"

#include <cmath>

namespace veltro::messenger {
namespace {

constexpr NSUInteger kMostArchivedObjects = 16;
NSString *const kMessageClass = @"ZLTWhatsAppMessage";

/// The name of the class that an archived object is of, looked up by the reference under "$class".
NSString *class_name_of(NSDictionary *object, NSArray *objects) {
  NSNumber *reference = entry<NSNumber>(entry<NSDictionary>(object, @"$class"), @"CF$UID");
  const NSUInteger index = [reference unsignedIntegerValue];
  if (reference == nil || index >= [objects count])
    return nil;
  return entry<NSString>(kind<NSDictionary>([objects objectAtIndex:index]), @"$classname");
}

/// Whether the archive holds one message and besides it only what a message is made of. Unarchiving
/// makes an object of any class that the archive names, so the names are looked at before.
bool is_of_one_message(NSDictionary *archive) {
  NSSet *known =
      [NSSet setWithObjects:kMessageClass, @"NSDate", @"NSString", @"NSMutableString", nil];
  NSArray *objects = entry<NSArray>(archive, @"$objects");
  if ([objects count] > kMostArchivedObjects)
    return false;
  NSUInteger messages = 0;
  for (id object in objects) {
    if ([object isKindOfClass:[NSArray class]])
      return false;
    NSDictionary *keyed = kind<NSDictionary>(object);
    if (keyed == nil)
      continue;
    NSString *name = class_name_of(keyed, objects);
    if (name == nil) {
      // The description of a class: its name, and those of its superclasses, which count as well.
      for (NSString *ancestor in entry<NSArray>(keyed, @"$classes"))
        if (![known containsObject:ancestor] && ![ancestor isEqual:@"NSObject"])
          return false;
      name = entry<NSString>(keyed, @"$classname");
    } else if ([name isEqual:kMessageClass]) {
      ++messages;
    }
    if (![known containsObject:name])
      return false;
  }
  return messages == 1;
}

std::optional<Message> record_of(ZLTWhatsAppMessage *message) {
  const std::optional<std::string> user = user_identifier([message userIdentifier]);
  const std::optional<std::string> text = utf8([message content]);
  NSDate *date = [message timestamp] != nil ? kind<NSDate>([message timestamp]) : [NSDate date];
  if (!user || !text || date == nil)
    return std::nullopt;
  const double time = [date timeIntervalSinceReferenceDate];
  if (!std::isfinite(time))
    return std::nullopt;
  return Message{*user, *text, [message outgoing] != NO, time};
}

} // namespace

std::optional<Message> message_in(NSData *archive) {
  if (!is_of_one_message(kind<NSDictionary>(property_list(archive))))
    return std::nullopt;
  // Not a secure unarchiver: that one refuses user identifiers.
  ZLTWhatsAppMessage *message =
      kind<ZLTWhatsAppMessage>([NSKeyedUnarchiver unarchiveObjectWithData:archive]);
  const std::optional<Message> record = record_of(message);
  // A message may have been made its own content.
  [message setContent:nil];
  [message setTimestamp:nil];
  [message setUserIdentifier:nil];
  return record;
}

ZLTWhatsAppMessage *archivable(const Message &message) {
  ZLTWhatsAppMessage *record = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  [record setContent:string_of(message.text)];
  [record setOutgoing:message.outgoing ? YES : NO];
  [record setTimestamp:[NSDate dateWithTimeIntervalSinceReferenceDate:message.time]];
  [record setUserIdentifier:string_of(message.user)];
  return record;
}

std::optional<std::string> utf8(id object) {
  NSData *bytes = [kind<NSString>(object) dataUsingEncoding:NSUTF8StringEncoding];
  if (bytes == nil)
    return std::nullopt;
  return std::string(static_cast<const char *>([bytes bytes]), [bytes length]);
}

NSString *string_of(const std::string &text) {
  return [[[NSString alloc] initWithBytes:text.data()
                                   length:text.size()
                                 encoding:NSUTF8StringEncoding] autorelease];
}

std::optional<std::string> user_identifier(id object) {
  std::optional<std::string> user = utf8(object);
  if (user && (user->empty() || user->size() > kLongestUserIdentifier))
    user.reset();
  return user;
}

} // namespace veltro::messenger
