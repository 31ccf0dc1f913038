// The record's archive form: what is written, key by key, and what is read.

#import <veltro/ZLTWhatsAppMessage.h>

#include "support/scoped_lsan_disabler.hpp"
#include "support/scratch.hpp"

#include <VeltroHost/NSKeyedArchiving+Device.h>

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// Writes down what it is asked to encode.
@interface RecordingCoder : NSCoder {
@public
  std::vector<std::string> *_calls;
}
@end

@implementation RecordingCoder

- (BOOL)allowsKeyedCoding {
  return YES;
}

- (void)encodeObject:(id)object forKey:(NSString *)key {
  _calls->emplace_back([[NSString stringWithFormat:@"%@ = %@", key, object] UTF8String]);
}

@end

/// Decodes from a dictionary and writes down what it is asked to decode.
@interface DictionaryCoder : NSCoder {
@public
  std::vector<std::string> *_calls;
  NSDictionary *_values;
}
@end

@implementation DictionaryCoder

- (BOOL)allowsKeyedCoding {
  return YES;
}

- (id)decodeObjectOfClass:(Class)expected forKey:(NSString *)key {
  _calls->push_back(std::string([key UTF8String]) + " of " + class_getName(expected));
  return [_values objectForKey:key];
}

@end

/// Writes down the setters that decoding goes through.
@interface WatchedMessage : ZLTWhatsAppMessage
@end

namespace {

std::vector<std::string> setters;

} // namespace

@implementation WatchedMessage

- (id)init {
  setters.emplace_back("init of the subclass");
  return [super init];
}

- (void)setContent:(id)content {
  setters.emplace_back("content");
  [super setContent:content];
}

- (void)setOutgoing:(BOOL)outgoing {
  setters.emplace_back("outgoing");
  [super setOutgoing:outgoing];
}

- (void)setTimestamp:(NSDate *)timestamp {
  setters.emplace_back("timestamp");
  [super setTimestamp:timestamp];
}

- (void)setUserIdentifier:(NSString *)userIdentifier {
  setters.emplace_back("userIdentifier");
  [super setUserIdentifier:userIdentifier];
}

@end

namespace {

ZLTWhatsAppMessage *message_with(NSString *user, id content, NSDate *timestamp, BOOL outgoing) {
  ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  [message setUserIdentifier:user];
  [message setContent:content];
  [message setTimestamp:timestamp];
  [message setOutgoing:outgoing];
  return message;
}

ZLTWhatsAppMessage *full_message() {
  return message_with(@"abc", @"hi", [NSDate dateWithTimeIntervalSinceReferenceDate:123.5], YES);
}

NSData *archive_of(id object) {
  return [NSKeyedArchiver archivedDataWithRootObject:object];
}

ZLTWhatsAppMessage *back(ZLTWhatsAppMessage *message) {
  return [NSKeyedUnarchiver unarchiveObjectWithData:archive_of(message)];
}

/// The archive as another property list reader sees it.
std::string read_elsewhere(NSData *archive) {
  const std::string file = (veltro::test::scratch() / "archive.plist").string();
  [archive writeToFile:[NSString stringWithUTF8String:file.c_str()] atomically:NO];
  const std::string command =
      "python3 '" VELTRO_SOURCE_DIR "/tests/bridge/read_archive.py' '" + file + "'";
  FILE *const reader = popen(command.c_str(), "r");
  std::string text;
  for (int character = 0; (character = fgetc(reader)) != EOF && character != '\n';)
    text += static_cast<char>(character);
  EXPECT_EQ(pclose(reader), 0);
  return text;
}

const std::string kFrameBegin = R"({"archiver": "NSKeyedArchiver", "null": "$null", "root": {)";
const std::string kFrameEnd =
    R"("class": "ZLTWhatsAppMessage", "classes": ["ZLTWhatsAppMessage", "NSObject"]}, )"
    R"("top": ["root"], "version": 100000})";

TEST(MessageArchive, FullRecordReadElsewhere) {
  EXPECT_EQ(read_elsewhere(archive_of(full_message())),
            kFrameBegin +
                R"("Content": "hi", "Outgoing": true, "Timestamp": {"NS.time": 123.5, )"
                R"("class": "NSDate", "classes": ["NSDate", "NSObject"]}, )"
                R"("UserIdentifier": "abc", )" +
                kFrameEnd);
}

TEST(MessageArchive, EmptyRecordReadElsewhere) {
  EXPECT_EQ(read_elsewhere(archive_of([[[ZLTWhatsAppMessage alloc] init] autorelease])),
            kFrameBegin +
                R"("Content": "$null", "Outgoing": false, "Timestamp": "$null", )"
                R"("UserIdentifier": "$null", )" +
                kFrameEnd);
}

TEST(MessageArchive, WritesFourKeysInOrder) {
  std::vector<std::string> calls;
  RecordingCoder *const coder = [[[RecordingCoder alloc] init] autorelease];
  coder->_calls = &calls;
  ZLTWhatsAppMessage *const message = message_with(@"abc", @"hi", nil, YES);
  [message encodeWithCoder:coder];
  EXPECT_EQ(calls, (std::vector<std::string>{"Content = hi", "Outgoing = 1", "Timestamp = (null)",
                                             "UserIdentifier = abc"}));
}

TEST(MessageArchive, AsksForTheClassesInOrderThroughTheSetters) {
  std::vector<std::string> calls;
  setters.clear();
  DictionaryCoder *const coder = [[[DictionaryCoder alloc] init] autorelease];
  coder->_calls = &calls;
  coder->_values = @{
    @"Content" : @"hi",
    @"Outgoing" : [NSNumber numberWithBool:YES],
    @"Timestamp" : [NSDate dateWithTimeIntervalSinceReferenceDate:5],
    @"UserIdentifier" : @"abc"
  };
  WatchedMessage *const message = [[[WatchedMessage alloc] initWithCoder:coder] autorelease];
  EXPECT_EQ(calls, (std::vector<std::string>{"Content of NSString", "Outgoing of NSNumber",
                                             "Timestamp of NSDate", "UserIdentifier of NSDate"}));
  EXPECT_EQ(setters,
            (std::vector<std::string>{"content", "outgoing", "timestamp", "userIdentifier"}));
  EXPECT_TRUE([[message content] isEqual:@"hi"]);
  EXPECT_TRUE([message outgoing]);
  EXPECT_EQ([[message timestamp] timeIntervalSinceReferenceDate], 5);
  EXPECT_TRUE([[message userIdentifier] isEqual:@"abc"]);
}

TEST(MessageArchive, MissingKeysLeaveTheRecordEmpty) {
  std::vector<std::string> calls;
  DictionaryCoder *const coder = [[[DictionaryCoder alloc] init] autorelease];
  coder->_calls = &calls;
  ZLTWhatsAppMessage *const message =
      [[[ZLTWhatsAppMessage alloc] initWithCoder:coder] autorelease];
  ASSERT_NE(message, nil);
  EXPECT_EQ([message content], nil);
  EXPECT_FALSE([message outgoing]);
  EXPECT_EQ([message timestamp], nil);
  EXPECT_EQ([message userIdentifier], nil);
}

TEST(MessageArchive, ComesBackAsItWas) {
  ZLTWhatsAppMessage *const message = back(full_message());
  EXPECT_TRUE([message isMemberOfClass:[ZLTWhatsAppMessage class]]);
  EXPECT_TRUE([[message userIdentifier] isEqual:@"abc"]);
  EXPECT_TRUE([[message content] isEqual:@"hi"]);
  EXPECT_EQ([[message timestamp] timeIntervalSinceReferenceDate], 123.5);
  EXPECT_TRUE([message outgoing]);
}

TEST(MessageArchive, EmptyRecordComesBackEmpty) {
  ZLTWhatsAppMessage *const message = back([[[ZLTWhatsAppMessage alloc] init] autorelease]);
  ASSERT_NE(message, nil);
  EXPECT_EQ([message content], nil);
  EXPECT_EQ([message timestamp], nil);
  EXPECT_EQ([message userIdentifier], nil);
  EXPECT_FALSE([message outgoing]);
}

TEST(MessageArchive, AnyContentComesBackAsItWas) {
  for (id content in @[
         @"", @"سلام 😀", @"$null", [NSNumber numberWithInt:42], [NSNumber numberWithDouble:0.1],
         [NSNumber numberWithBool:YES], [NSDate dateWithTimeIntervalSinceReferenceDate:9],
         [NSData dataWithBytes:"\0\xff" length:2], @[ @"a", @{@"k" : @"v"} ]
       ])
    EXPECT_TRUE([[back(message_with(@"abc", content, nil, NO)) content] isEqual:content])
        << [[content description] UTF8String];
}

TEST(MessageArchive, ManyRecordsComeBackInOneArchive) {
  NSMutableArray *const messages = [NSMutableArray array];
  for (int index = 0; index < 50; ++index)
    [messages addObject:message_with(@"same user", [NSString stringWithFormat:@"%d", index],
                                     [NSDate dateWithTimeIntervalSinceReferenceDate:index],
                                     index % 2 != 0)];
  NSArray *const read = [NSKeyedUnarchiver unarchiveObjectWithData:archive_of(messages)];
  ASSERT_EQ([read count], [messages count]);
  for (NSUInteger index = 0; index < [read count]; ++index)
    EXPECT_TRUE([[[read objectAtIndex:index] description]
        isEqual:[[messages objectAtIndex:index] description]]);
}

/// What a secure unarchiver makes of the record; nil with the exception's name where it raises.
ZLTWhatsAppMessage *securely(ZLTWhatsAppMessage *message, NSString **raised) {
  NSKeyedUnarchiver *const unarchiver =
      [[[NSKeyedUnarchiver alloc] initForReadingWithData:archive_of(message)] autorelease];
  [unarchiver setRequiresSecureCoding:YES];
  @try {
    return [unarchiver decodeObjectOfClass:[ZLTWhatsAppMessage class] forKey:@"root"];
  } @catch (NSException *exception) {
    *raised = [exception name];
    return nil;
  }
}

TEST(MessageArchive, SecureUnarchiverRefusesAUserIdentifier) {
  const veltro::test::ScopedLsanDisabler disabler;
  NSString *raised = nil;
  EXPECT_EQ(securely(full_message(), &raised), nil);
  EXPECT_TRUE([raised isEqualToString:NSInvalidUnarchiveOperationException]);

  NSError *error = nil;
  EXPECT_EQ([NSKeyedUnarchiver unarchivedObjectOfClass:[ZLTWhatsAppMessage class]
                                              fromData:archive_of(full_message())
                                                 error:&error],
            nil);
  EXPECT_NE(error, nil);
}

TEST(MessageArchive, SecureUnarchiverTakesARecordWithoutUserIdentifier) {
  NSString *raised = nil;
  NSDate *const timestamp = [NSDate dateWithTimeIntervalSinceReferenceDate:7];
  ZLTWhatsAppMessage *const message = securely(message_with(nil, @"hi", timestamp, YES), &raised);
  EXPECT_EQ(raised, nil);
  EXPECT_TRUE([[message content] isEqual:@"hi"]);
  EXPECT_TRUE([[message timestamp] isEqual:timestamp]);
  EXPECT_TRUE([message outgoing]);
}

TEST(MessageArchive, SecureUnarchiverRefusesContentThatIsNoText) {
  const veltro::test::ScopedLsanDisabler disabler;
  NSString *raised = nil;
  EXPECT_EQ(securely(message_with(nil, [NSNumber numberWithInt:1], nil, NO), &raised), nil);
  EXPECT_TRUE([raised isEqualToString:NSInvalidUnarchiveOperationException]);
}

TEST(MessageArchive, ArchiverMayRequireSecureCoding) {
  EXPECT_NE([NSKeyedArchiver archivedDataWithRootObject:full_message()
                                  requiringSecureCoding:YES
                                                  error:nullptr],
            nil);
}

} // namespace
