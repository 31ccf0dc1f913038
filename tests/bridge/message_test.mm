// The message record as an object.

#import <veltro/ZLTWhatsAppMessage.h>

#include <gmock/gmock.h>
#include <objc/runtime.h>
#include <string>
#include <vector>

namespace {

/// What happened to the witnesses, in order.
std::vector<std::string> events;

} // namespace

/// Tells of its end and of being copied.
@interface Witness : NSObject <NSCopying> {
  const char *_name;
}
- (id)initWithName:(const char *)name;
@end

@implementation Witness

- (id)initWithName:(const char *)name {
  self = [super init];
  if (self != nil)
    _name = name;
  return self;
}

- (id)copyWithZone:(NSZone *)zone {
  events.push_back(std::string(_name) + " copied");
  return [[Witness allocWithZone:zone] initWithName:_name];
}

- (void)dealloc {
  events.push_back(std::string(_name) + " released");
  [super dealloc];
}

@end

namespace {

Witness *witness(const char *name) {
  return [[[Witness alloc] initWithName:name] autorelease];
}

TEST(Message, StartsEmpty) {
  ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  EXPECT_EQ([message content], nil);
  EXPECT_EQ([message timestamp], nil);
  EXPECT_EQ([message userIdentifier], nil);
  EXPECT_EQ([message outgoing], NO);
}

TEST(Message, KeepsWhatItIsGiven) {
  ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  NSNumber *const content = [NSNumber numberWithInt:42];
  NSDate *const timestamp = [NSDate date];
  NSMutableString *const user = [NSMutableString stringWithString:@"user"];
  [message setContent:content];
  [message setTimestamp:timestamp];
  [message setUserIdentifier:user];
  [message setOutgoing:YES];
  EXPECT_EQ([message content], content);
  EXPECT_EQ([message timestamp], timestamp);
  EXPECT_EQ([message userIdentifier], user);
  EXPECT_NE([message outgoing], NO);
}

TEST(Message, RetainsAndDoesNotCopy) {
  events.clear();
  ZLTWhatsAppMessage *const message = [[ZLTWhatsAppMessage alloc] init];
  @autoreleasepool {
    [message setContent:witness("content")];
    [message setTimestamp:(NSDate *)witness("timestamp")];
    [message setUserIdentifier:(NSString *)witness("user")];
  }
  EXPECT_TRUE(events.empty());
  [message release];
}

TEST(Message, ReplacedReferenceIsReleased) {
  events.clear();
  ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  @autoreleasepool {
    [message setContent:witness("old")];
  }
  [message setContent:[message content]];
  EXPECT_TRUE(events.empty());
  [message setContent:nil];
  EXPECT_EQ(events, std::vector<std::string>{"old released"});
}

TEST(Message, ReleasesUserThenTimestampThenContent) {
  events.clear();
  ZLTWhatsAppMessage *const message = [[ZLTWhatsAppMessage alloc] init];
  @autoreleasepool {
    [message setContent:witness("content")];
    [message setTimestamp:(NSDate *)witness("timestamp")];
    [message setUserIdentifier:(NSString *)witness("user")];
  }
  [message release];
  EXPECT_EQ(events,
            (std::vector<std::string>{"user released", "timestamp released", "content released"}));
}

TEST(Message, IsComparedByIdentityAndNotCopied) {
  ZLTWhatsAppMessage *const one = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  ZLTWhatsAppMessage *const other = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  EXPECT_FALSE([one isEqual:other]);
  EXPECT_FALSE([one respondsToSelector:@selector(copyWithZone:)]);
}

TEST(Message, HashesByIdentity) {
  EXPECT_EQ([ZLTWhatsAppMessage instanceMethodForSelector:@selector(hash)],
            [NSObject instanceMethodForSelector:@selector(hash)]);
}

TEST(Message, IsAPlainObjectThatAdoptsSecureCoding) {
  EXPECT_EQ([ZLTWhatsAppMessage superclass], [NSObject class]);
  unsigned count = 0;
  Protocol *__unsafe_unretained *const protocols =
      class_copyProtocolList([ZLTWhatsAppMessage class], &count);
  std::vector<std::string> names;
  for (unsigned index = 0; index < count; ++index)
    names.emplace_back(protocol_getName(protocols[index]));
  free(protocols);
  EXPECT_THAT(names, testing::ElementsAre("NSSecureCoding"));
  EXPECT_EQ([ZLTWhatsAppMessage conformsToProtocol:@protocol(NSSecureCoding)], YES);
  EXPECT_EQ([ZLTWhatsAppMessage conformsToProtocol:@protocol(NSCoding)], YES);
  EXPECT_EQ([ZLTWhatsAppMessage conformsToProtocol:@protocol(NSMutableCopying)], NO);
}

TEST(Message, PropertiesAreBackedByFieldsOfTheirNames) {
  unsigned count = 0;
  Ivar *const fields = class_copyIvarList([ZLTWhatsAppMessage class], &count);
  std::vector<std::string> found;
  for (unsigned index = 0; index < count; ++index)
    found.push_back(std::string(ivar_getName(fields[index])) + " " +
                    ivar_getTypeEncoding(fields[index]));
  free(fields);
  // BOOL is a signed char in a 32-bit build for devices.
  EXPECT_THAT(found, testing::UnorderedElementsAre(
                         "_content @",
                         testing::AnyOf(std::string("_outgoing ") + @encode(BOOL),
                                        sizeof(void *) == 4 ? "_outgoing c" : "_outgoing C"),
                         "_timestamp @\"NSDate\"", "_userIdentifier @\"NSString\""));
}

TEST(Message, SupportsSecureCoding) {
  EXPECT_EQ([ZLTWhatsAppMessage supportsSecureCoding], YES);
}

TEST(Message, DescriptionHoldsTheFourValues) {
  ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  NSDate *const timestamp = [NSDate dateWithTimeIntervalSinceReferenceDate:0];
  [message setUserIdentifier:@"abc"];
  [message setContent:@"hi"];
  [message setTimestamp:timestamp];
  EXPECT_EQ(std::string([[message description] UTF8String]),
            "UserIdentifier: abc, Content: hi, TimeStamp: " +
                std::string([[timestamp description] UTF8String]) + " and is it outgoing: 0");
  [message setOutgoing:YES];
  EXPECT_TRUE([[message description] hasSuffix:@" and is it outgoing: 1"]);
}

TEST(Message, DescriptionOfAnEmptyRecord) {
  ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  EXPECT_STREQ([[message description] UTF8String],
               "UserIdentifier: (null), Content: (null), TimeStamp: (null) and is it outgoing: 0");
}

} // namespace
