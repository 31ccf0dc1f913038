// The request channel against servers that misbehave, large payloads and many threads.

#include "support/captured_log.hpp"
#include "support/loopback_server.hpp"
#include "support/replaced_method.hpp"

#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Channel.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <string>
#include <thread>
#include <vector>

/// A payload whose description, which every request logs, stays short whatever its length.
@interface QuietData : NSData {
  const std::string *_text;
}
+ (instancetype)dataWithText:(const std::string &)text;
@end

@implementation QuietData

+ (instancetype)dataWithText:(const std::string &)text {
  QuietData *data = [[[self alloc] init] autorelease];
  data->_text = &text;
  return data;
}

- (instancetype)init {
  return self; // NSData's own wants the bytes
}

- (NSUInteger)length {
  return _text->size();
}

- (const void *)bytes {
  return _text->data();
}

- (NSString *)description {
  return @"<quiet>";
}

@end

namespace veltro::test {
namespace {

BOOL running(id /*self*/, SEL /*command*/) {
  return YES;
}

class ChannelFaults : public testing::Test {
protected:
  static std::string text(NSData *data) {
    return {static_cast<const char *>([data bytes]), [data length]};
  }

  static std::string ask(const std::string &payload, char identifier = 1) {
    @autoreleasepool {
      NSData *reply = [ZLTUtils sendMessage:identifier
                                messageData:[QuietData dataWithText:payload]];
      EXPECT_NE(reply, nil);
      return text(reply);
    }
  }

  /// The reply to one request that `serve` serves.
  static std::string ask_server(std::function<void(Peer &)> serve,
                                const std::string &payload = "hello") {
    const LoopbackServer server(std::move(serve));
    [ZLTSocketUtils setSocketPort:server.port()];
    std::string reply = ask(payload);
    EXPECT_TRUE(sockets_connected_to(server.port()).empty());
    return reply;
  }

  /// The same where the server reads the whole request first.
  static std::string ask_after_request(const std::function<void(Peer &)> &reply) {
    return ask_server([&](Peer &peer) {
      EXPECT_EQ(read_request(peer).payload, "hello");
      reply(peer);
    });
  }

private:
  ReplacedMethod running_ {
    class_getClassMethod([ZLTUtils class], @selector(isWhatsAppRunning)), running
  };
};

TEST_F(ChannelFaults, ServerThatClosesAtOnce) {
  EXPECT_EQ(ask_server([](Peer &peer) { peer.close(); }), "");
}

TEST_F(ChannelFaults, ServerThatClosesAtOnceUnderALargeRequest) {
  EXPECT_EQ(ask_server([](Peer &peer) { peer.close(); }, std::string(16U << 20, 'x')), "");
}

TEST_F(ChannelFaults, ServerThatResetsInTheMiddleOfALargeRequest) {
  EXPECT_EQ(ask_server(
                [](Peer &peer) {
                  static_cast<void>(peer.read(100'000));
                  peer.reset();
                },
                std::string(16U << 20, 'x')),
            "");
}

TEST_F(ChannelFaults, ServerThatSendsFewerThanEightBytes) {
  for (std::size_t length = 0; length < 8; ++length)
    EXPECT_EQ(ask_after_request([&](Peer &peer) { peer.write(std::string(length, '\1')); }), "");
}

TEST_F(ChannelFaults, ServerThatSendsFewerBytesThanItAnnounced) {
  for (std::size_t length = 0; length < 5; ++length)
    EXPECT_EQ(ask_after_request([&](Peer &peer) {
                peer.write(little_endian(5) + std::string("hello").substr(0, length));
              }),
              "");
}

TEST_F(ChannelFaults, ServerThatDripsOneByteAtATime) {
  EXPECT_EQ(ask_after_request([](Peer &peer) {
              for (const char byte : little_endian(5) + "drops") {
                peer.write({&byte, 1});
                std::this_thread::yield();
              }
            }),
            "drops");
}

TEST_F(ChannelFaults, ServerThatResetsTheConnection) {
  EXPECT_EQ(ask_after_request([](Peer &peer) { peer.reset(); }), "");
  EXPECT_EQ(ask_after_request([](Peer &peer) {
              peer.write(little_endian(5) + "he");
              peer.reset();
            }),
            "");
}

TEST_F(ChannelFaults, ServerThatAnnouncesMoreThanAnyMemory) {
  for (const std::uint64_t length :
       {std::uint64_t{1} << 40, std::uint64_t{1} << 63, ~std::uint64_t{0}})
    EXPECT_EQ(ask_after_request([&](Peer &peer) { peer.write(little_endian(length) + "hello"); }),
              "")
        << length;
}

TEST_F(ChannelFaults, ServerWhoseLengthHasMoreThan32Bits) {
  EXPECT_EQ(ask_after_request([](Peer &peer) {
              peer.write(little_endian((std::uint64_t{1} << 32) + 5) + "hello");
            }),
            sizeof(void *) == 4 ? "hello" : "");
}

TEST_F(ChannelFaults, ServerThatSendsMoreThanItAnnounced) {
  EXPECT_EQ(ask_after_request([](Peer &peer) { peer.write(little_endian(5) + "hello, world"); }),
            "hello");
  EXPECT_EQ(ask_after_request([](Peer &peer) { peer.write(little_endian(0) + "hello, world"); }),
            "");
}

TEST_F(ChannelFaults, ServerThatRepliesBeforeItHasReadTheRequest) {
  EXPECT_EQ(ask_server([](Peer &peer) {
              peer.write(little_endian(5) + "early");
              static_cast<void>(peer.read_to_end());
            }),
            "early");
}

/// Sends the payload back.
void echo(Peer &peer) {
  const Request request = read_request(peer);
  peer.write(little_endian(request.payload.size()));
  peer.write(request.payload);
}

TEST_F(ChannelFaults, PayloadsOfAllSizesComeBackWhole) {
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{9},
                                   std::size_t{65536}, std::size_t{64} << 20}) {
    std::string payload(length, '\0');
    std::uint32_t state = 319;
    for (char &byte : payload) {
      state = state * 1664525 + 1013904223;
      byte = static_cast<char>(state >> 24);
    }
    EXPECT_TRUE(ask_server(echo, payload) == payload) << length;
  }
}

/// Bytes that malloc has given out in this process; 0 under a sanitizer, which finds leaks itself.
std::size_t allocated() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// By how much `allocated` grows over many requests that are served by `reply`.
std::size_t growth(const std::function<void(Peer &)> &reply) {
  const LoopbackServer server([&](Peer &peer) {
    static_cast<void>(read_request(peer));
    reply(peer);
  });
  [ZLTSocketUtils setSocketPort:server.port()];
  std::size_t before = 0;
  for (int i = 0; i < 120; ++i) {
    if (i == 20)
      before = allocated();
    @autoreleasepool {
      static_cast<void>([ZLTUtils sendMessage:1 messageData:nil]);
    }
    clear_log();
  }
  return std::max(allocated(), before) - before;
}

TEST_F(ChannelFaults, NoByteIsLostOnAnyPath) {
  const std::string block(65536, 'x');
  const std::size_t bound = 20 * block.size(); // one reply in five would show
  EXPECT_LT(growth([&](Peer &peer) { peer.write(little_endian(block.size()) + block); }), bound);
  EXPECT_LT(growth([&](Peer &peer) { peer.write(little_endian(block.size() + 1) + block); }),
            bound);
  EXPECT_LT(growth([&](Peer &peer) {
              peer.write(little_endian(block.size()));
              peer.reset();
            }),
            bound);
}

TEST_F(ChannelFaults, ManyThreadsGetTheirOwnReplies) {
  constexpr int kThreads = 64;
  constexpr int kRequests = 200;
  ask_server(echo); // what the platform opens once and keeps is open now
  clear_log();
  const std::size_t descriptors = open_descriptors();
  std::atomic<int> right = 0;
  {
    // The reply names the identifier too: a reply of another thread or request cannot pass.
    const LoopbackServer server(
        [](Peer &peer) {
          const Request request = read_request(peer);
          const std::string reply = request.payload + request.identifier;
          peer.write(little_endian(reply.size()) + reply);
        },
        8);
    [ZLTSocketUtils setSocketPort:server.port()];
    std::vector<std::thread> clients;
    for (int thread = 0; thread < kThreads; ++thread)
      clients.emplace_back([&, thread] {
        for (int i = 0; i < kRequests; ++i) {
          const std::string payload = std::to_string(thread) + "/" + std::to_string(i) +
                                      std::string(static_cast<std::size_t>(i), '.');
          const char identifier = static_cast<char>(thread - 32);
          if (ask(payload, identifier) == payload + identifier)
            ++right;
        }
      });
    for (std::thread &client : clients)
      client.join();
    EXPECT_EQ(server.accepted(), static_cast<std::size_t>(kThreads * kRequests));
  }
  EXPECT_EQ(right, kThreads * kRequests);
  EXPECT_EQ(logged_lines().size(), static_cast<std::size_t>(kThreads * kRequests));
  EXPECT_EQ(open_descriptors(), descriptors);
}

} // namespace
} // namespace veltro::test
