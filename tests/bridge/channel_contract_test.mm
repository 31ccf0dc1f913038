// The request channel against streams that this program defines itself: which calls it makes, in
// which order, with which arguments, and what it does when one of them fails.

#include "support/captured_log.hpp"
#include "support/loopback_server.hpp"
#include "support/replaced_method.hpp"

#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Channel.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

char read_object;
char write_object;

/// What the streams do, and what happened to them.
struct Fake {
  bool makes_read = true;
  bool makes_write = true;
  Boolean opens = 1;
  std::deque<CFIndex> write_results; // then all that is asked
  std::string incoming;              // then the end of the stream
  std::deque<CFIndex> read_results;  // then as much as there is

  std::vector<std::string> calls;
  std::string outgoing;
  std::vector<const void *> read_buffers;
};

Fake fake;

template <typename... Words> void note(Words... words) {
  fake.calls.push_back((... + words));
}

CFReadStreamRef read_stream() {
  return reinterpret_cast<CFReadStreamRef>(&read_object);
}

CFWriteStreamRef write_stream() {
  return reinterpret_cast<CFWriteStreamRef>(&write_object);
}

std::string name_of(const void *stream) {
  return stream == &read_object ? "read" : stream == &write_object ? "write" : "something else";
}

} // namespace

extern "C" {

void CFStreamCreatePairWithSocketToHost(CFAllocatorRef allocator, CFStringRef host, UInt32 port,
                                        CFReadStreamRef *read, CFWriteStreamRef *write) {
  NSString *name = reinterpret_cast<NSString *>(const_cast<__CFString *>(host));
  note(std::string(allocator == kCFAllocatorDefault ? "create " : "create elsewhere "),
       std::string([name UTF8String]), ":" + std::to_string(port));
  *read = fake.makes_read ? read_stream() : nullptr;
  *write = fake.makes_write ? write_stream() : nullptr;
}

Boolean CFReadStreamOpen(CFReadStreamRef stream) {
  note("open " + name_of(stream));
  return fake.opens;
}

Boolean CFWriteStreamOpen(CFWriteStreamRef stream) {
  note("open " + name_of(stream));
  return fake.opens;
}

CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8 *buffer, CFIndex length) {
  note("read from " + name_of(stream) + " " + std::to_string(length));
  fake.read_buffers.push_back(buffer);
  auto count = std::min(length, static_cast<CFIndex>(fake.incoming.size()));
  if (!fake.read_results.empty()) {
    count = fake.read_results.front();
    fake.read_results.pop_front();
  }
  if (count > 0) {
    const std::string some = fake.incoming.substr(0, static_cast<std::size_t>(count));
    fake.incoming.erase(0, some.size());
    std::ranges::copy(some, buffer);
  }
  return count;
}

CFIndex CFWriteStreamWrite(CFWriteStreamRef stream, const UInt8 *buffer, CFIndex length) {
  note("write to " + name_of(stream) + " " + std::to_string(length));
  CFIndex count = length;
  if (!fake.write_results.empty()) {
    count = fake.write_results.front();
    fake.write_results.pop_front();
  }
  for (CFIndex i = 0; i < std::min(count, length); ++i)
    fake.outgoing += static_cast<char>(buffer[i]);
  return count;
}

void CFReadStreamClose(CFReadStreamRef stream) {
  note("close " + name_of(stream));
}

void CFWriteStreamClose(CFWriteStreamRef stream) {
  note("close " + name_of(stream));
}

void CFRelease(CFTypeRef object) {
  note("release " + name_of(object));
}

} // extern "C"

namespace veltro::test {
namespace {

BOOL running;
BOOL is_running(id self, SEL /*command*/) {
  note(std::string("isWhatsAppRunning of ") + [NSStringFromClass(self) UTF8String]);
  return running;
}

NSInteger next_port;
NSInteger counted_port(id /*self*/, SEL /*command*/) {
  note("socketPort");
  return next_port++;
}

class ChannelContract : public testing::Test {
protected:
  ChannelContract() {
    fake = Fake{};
    running = YES;
    next_port = 4711;
    clear_log();
  }

  static NSData *bytes(const std::string &text) {
    return [NSData dataWithBytes:text.data() length:text.size()];
  }

  static std::string text(NSData *data) {
    return {static_cast<const char *>([data bytes]), [data length]};
  }

  static NSData *send(const std::string &payload) {
    return [ZLTUtils sendMessage:7 messageData:bytes(payload)];
  }

  /// A request with the payload "hi" that fails after the calls `between`: the reply is empty, and
  /// the streams are closed and released in their order.
  static void expect_failure_after(std::vector<std::string> between) {
    EXPECT_EQ([send("hi") length], 0U);
    std::vector<std::string> calls = {"socketPort", "isWhatsAppRunning of ZLTUtils",
                                      "socketPort", "create 127.0.0.1:4712",
                                      "open read",  "open write"};
    calls.insert(calls.end(), between.begin(), between.end());
    for (const char *last : {"close read", "close write", "release read", "release write"})
      calls.emplace_back(last);
    EXPECT_EQ(fake.calls, calls);
  }

private:
  ReplacedMethod running_ {
    class_getClassMethod([ZLTUtils class], @selector(isWhatsAppRunning)), is_running
  };
  ReplacedMethod port_ {
    class_getClassMethod([ZLTSocketUtils class], @selector(socketPort)), counted_port
  };
};

TEST_F(ChannelContract, MakesItsCallsInOrder) {
  fake.incoming = little_endian(5) + "hello";
  EXPECT_EQ(text(send("hi")), "hello");
  EXPECT_THAT(fake.calls, ElementsAre("socketPort", "isWhatsAppRunning of ZLTUtils", "socketPort",
                                      "create 127.0.0.1:4712", "open read", "open write",
                                      "write to write 1", "write to write 8", "write to write 2",
                                      "read from read 8", "read from read 5", "close read",
                                      "close write", "release read", "release write"));
  EXPECT_EQ(fake.outgoing, "\x07" + little_endian(2) + "hi");
}

TEST_F(ChannelContract, LogsThePortAsItIsThenAndConnectsToThePortAsItIsThen) {
  static_cast<void>(send("hello"));
  EXPECT_THAT(logged_lines(),
              ElementsAre("messageId 7 & messageData: <68656c6c 6f>, ZLTSocketUtils socketPort]: "
                          "4711"));
  EXPECT_EQ(fake.calls.at(3), "create 127.0.0.1:4712");
}

#ifdef __LP64__
TEST_F(ChannelContract, CutsThePortOfA64BitBuildTo32Bits) {
  next_port = (NSInteger{1} << 32) + 4710;
  static_cast<void>(send("hi"));
  EXPECT_EQ(fake.calls.at(3), "create 127.0.0.1:4711");
  EXPECT_TRUE(logged_lines().at(0).ends_with(": 4294972006"));
}
#else
TEST_F(ChannelContract, TakesEveryPortOfA32BitBuildAsItIs) {
  next_port = NSIntegerMin;
  static_cast<void>(send("hi"));
  EXPECT_EQ(fake.calls.at(3), "create 127.0.0.1:2147483649");
  EXPECT_TRUE(logged_lines().at(0).ends_with(": -2147483648"));
}
#endif

TEST_F(ChannelContract, TakesANegativePortAsUnsigned) {
  next_port = -2;
  static_cast<void>(send("hi"));
  EXPECT_EQ(fake.calls.at(3), "create 127.0.0.1:4294967295");
  EXPECT_TRUE(logged_lines().at(0).ends_with(": -2"));
}

TEST_F(ChannelContract, ConnectsNowhereWhileTheAppIsNotRunning) {
  running = NO;
  NSData *reply = send("");
  ASSERT_NE(reply, nil);
  EXPECT_EQ([reply length], 0U);
  EXPECT_THAT(fake.calls, ElementsAre("socketPort", "isWhatsAppRunning of ZLTUtils"));
  EXPECT_THAT(logged_lines(),
              ElementsAre("messageId 7 & messageData: <>, ZLTSocketUtils socketPort]: 4711",
                          "com.norvane.Veltro: Error => +[ZLTUtils sendMessage:messageData:], "
                          "[Line 319], Seems WhatsApp is not running, hence returning..."));
}

TEST_F(ChannelContract, ReleasesTheOneStreamThatWasMade) {
  for (const bool read : {true, false}) {
    fake = Fake{};
    next_port = 1;
    fake.makes_read = read;
    fake.makes_write = !read;
    NSData *reply = send("hi");
    ASSERT_NE(reply, nil);
    EXPECT_EQ([reply length], 0U);
    EXPECT_THAT(fake.calls,
                ElementsAre("socketPort", "isWhatsAppRunning of ZLTUtils", "socketPort",
                            "create 127.0.0.1:2", read ? "release read" : "release write"));
  }
}

TEST_F(ChannelContract, ReleasesNothingWhereNoStreamWasMade) {
  fake.makes_read = fake.makes_write = false;
  NSData *reply = send("hi");
  ASSERT_NE(reply, nil);
  EXPECT_EQ([reply length], 0U);
  EXPECT_EQ(fake.calls.size(), 4U);
}

TEST_F(ChannelContract, DoesNotAskWhetherOpeningSucceeded) {
  fake.opens = 0;
  fake.incoming = little_endian(2) + "ok";
  EXPECT_EQ(text(send("hi")), "ok");
}

TEST_F(ChannelContract, SendsNineBytesForAnAbsentOrEmptyPayload) {
  for (NSData *payload : std::initializer_list<NSData *>{nil, [NSData data]}) {
    fake = Fake{};
    static_cast<void>([ZLTUtils sendMessage:1 messageData:payload]);
    EXPECT_EQ(fake.outgoing, "\x01" + little_endian(0));
    EXPECT_EQ(std::ranges::count(fake.calls, "write to write 1"), 1);
    EXPECT_EQ(std::ranges::count(fake.calls, "write to write 8"), 1);
    EXPECT_EQ(std::ranges::count(fake.calls, "write to write 0"), 0);
  }
  EXPECT_TRUE(logged_lines().at(0).starts_with("messageId 1 & messageData: (null), "));
}

TEST_F(ChannelContract, SendsTheIdentifierAsItStandsAndLogsItSigned) {
  for (const int identifier : {-1, -128, 127, 0}) {
    fake = Fake{};
    clear_log();
    static_cast<void>([ZLTUtils sendMessage:static_cast<char>(identifier) messageData:nil]);
    EXPECT_EQ(static_cast<unsigned char>(fake.outgoing.at(0)), identifier & 0xFF);
    EXPECT_TRUE(logged_lines().at(0).starts_with("messageId " + std::to_string(identifier) + " &"));
  }
}

TEST_F(ChannelContract, StopsAtTheFirstWriteThatFails) {
  for (const CFIndex failure : {CFIndex{0}, CFIndex{-1}}) {
    fake = Fake{};
    next_port = 4711;
    fake.write_results = {failure};
    expect_failure_after({"write to write 1"});

    fake = Fake{};
    next_port = 4711;
    fake.write_results = {1, 3, failure};
    expect_failure_after({"write to write 1", "write to write 8", "write to write 5"});

    fake = Fake{};
    next_port = 4711;
    fake.write_results = {1, 8, 1, failure};
    expect_failure_after(
        {"write to write 1", "write to write 8", "write to write 2", "write to write 1"});
  }
}

TEST_F(ChannelContract, FailsWhereTheReplyEndsBeforeItsLength) {
  const std::vector<std::string> request = {"write to write 1", "write to write 8",
                                            "write to write 2"};
  for (std::size_t length = 0; length < 8; ++length) {
    fake = Fake{};
    next_port = 4711;
    fake.incoming = std::string(length, '\1');
    std::vector<std::string> calls = request;
    calls.emplace_back("read from read 8");
    if (length > 0)
      calls.push_back("read from read " + std::to_string(8 - length));
    expect_failure_after(calls);
  }
}

TEST_F(ChannelContract, FailsWhereTheReplyEndsBeforeItsLastByte) {
  fake.incoming = little_endian(5) + "hell";
  expect_failure_after({"write to write 1", "write to write 8", "write to write 2",
                        "read from read 8", "read from read 5", "read from read 1"});
}

TEST_F(ChannelContract, FailsWhereReadingFails) {
  fake.incoming = little_endian(5) + "hello";
  fake.read_results = {8, -1};
  expect_failure_after({"write to write 1", "write to write 8", "write to write 2",
                        "read from read 8", "read from read 5"});
}

TEST_F(ChannelContract, FailsWithoutReadingOnWhereNoMemoryCanHoldTheReply) {
  fake.incoming = little_endian(std::uint64_t{1} << 63) + "hello";
  expect_failure_after(
      {"write to write 1", "write to write 8", "write to write 2", "read from read 8"});
}

TEST_F(ChannelContract, ReadsNoFurtherForAReplyWithoutBytes) {
  fake.incoming = little_endian(0) + "unasked";
  expect_failure_after(
      {"write to write 1", "write to write 8", "write to write 2", "read from read 8"});
}

TEST_F(ChannelContract, TakesAReplyInPieces) {
  fake.incoming = little_endian(5) + "hello";
  fake.read_results = {1, 7, 2, 2, 1};
  EXPECT_EQ(text(send("hi")), "hello");
}

#ifdef __LP64__
TEST_F(ChannelContract, HonoursAllBytesOfTheReplysLengthInA64BitBuild) {
  const std::uint64_t length = (std::uint64_t{1} << 32) + 5;
  fake.incoming = little_endian(length) + "hello";
  static_cast<void>(send("hi"));
  // A machine that cannot give out so much memory has no reason to read on.
  void *volatile memory = std::malloc(length);
  EXPECT_EQ(std::ranges::count(fake.calls, "read from read 4294967301"), memory != nullptr ? 1 : 0);
  EXPECT_EQ(std::ranges::count(fake.calls, "read from read 5"), 0);
  std::free(memory);
}
#else
TEST_F(ChannelContract, TakesTheLowerBytesOfTheReplysLengthInA32BitBuild) {
  fake.incoming = little_endian((std::uint64_t{1} << 32) + 5) + "hello";
  EXPECT_EQ(text(send("hi")), "hello");
  EXPECT_EQ(std::ranges::count(fake.calls, "read from read 8"), 1);
  EXPECT_EQ(std::ranges::count(fake.calls, "read from read 5"), 1);
}
#endif

TEST_F(ChannelContract, HandsTheReplyOverWithoutACopy) {
  fake.incoming = little_endian(4096) + std::string(4096, 'x');
  NSData *reply = send("hi");
  EXPECT_EQ([reply length], 4096U);
  EXPECT_EQ([reply bytes], fake.read_buffers.at(1));
}

std::vector<std::string> helpers;
BOOL helpers_result;

BOOL noted_read(id /*self*/, SEL /*command*/, CFReadStreamRef stream, void * /*buffer*/,
                NSUInteger length) {
  helpers.push_back("read " + name_of(stream) + " " + std::to_string(length));
  return helpers_result;
}

BOOL noted_write(id /*self*/, SEL /*command*/, CFWriteStreamRef stream, const void * /*bytes*/,
                 NSUInteger length) {
  helpers.push_back("write " + name_of(stream) + " " + std::to_string(length));
  return helpers_result;
}

TEST_F(ChannelContract, GoesThroughTheTransferHelpers) {
  const ReplacedMethod read {
    class_getClassMethod([ZLTUtils class], @selector(readBytes:buffer:length:)), noted_read
  };
  const ReplacedMethod write {
    class_getClassMethod([ZLTUtils class], @selector(writeBytes:bytes:length:)), noted_write
  };
  helpers.clear();
  helpers_result = YES;
  // The length field that nobody fills in announces nothing: it was zeroed beforehand.
  EXPECT_EQ([send("") length], 0U);
  EXPECT_THAT(helpers, ElementsAre("write write 1", "write write 8", "write write 0", "read read 8",
                                   "read read 0"));
  helpers.clear();
  helpers_result = NO;
  EXPECT_EQ([send("") length], 0U);
  EXPECT_THAT(helpers, ElementsAre("write write 1"));
}

TEST_F(ChannelContract, TransferHelpersTouchNoStreamForNoBytes) {
  EXPECT_TRUE([ZLTUtils readBytes:nullptr buffer:nullptr length:0]);
  EXPECT_TRUE([ZLTUtils writeBytes:nullptr bytes:nullptr length:0]);
  EXPECT_THAT(fake.calls, IsEmpty());
}

TEST_F(ChannelContract, ReadHelperKeepsWhatItReadBeforeAFailure) {
  std::string buffer(6, '-');
  fake.incoming = "abc";
  EXPECT_FALSE([ZLTUtils readBytes:read_stream() buffer:buffer.data() length:6]);
  EXPECT_EQ(buffer, "abc---");
  EXPECT_THAT(fake.calls, ElementsAre("read from read 6", "read from read 3"));
}

TEST_F(ChannelContract, WriteHelperWritesTheRestBehindWhatWasTaken) {
  fake.write_results = {2, 1};
  EXPECT_TRUE([ZLTUtils writeBytes:write_stream() bytes:"abcdef" length:6]);
  EXPECT_EQ(fake.outgoing, "abcdef");
  EXPECT_THAT(fake.calls, ElementsAre("write to write 6", "write to write 4", "write to write 3"));
}

TEST_F(ChannelContract, HelpersAreDoneWhereAStreamMovesMoreThanAsked) {
  fake.write_results = {9};
  EXPECT_EQ([ZLTUtils writeBytes:write_stream() bytes:"abcdef" length:6], YES);
  EXPECT_EQ(fake.calls.size(), 1U);
}

} // namespace
} // namespace veltro::test
