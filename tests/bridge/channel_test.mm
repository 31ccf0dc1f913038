// The request channel over real connections, with a real process that plays the messaging app.

#include "support/captured_log.hpp"
#include "support/exclusive.hpp"
#include "support/loopback_server.hpp"
#include "support/named_process.hpp"
#include "support/replaced_method.hpp"

#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Channel.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <string>

VELTRO_TEST_EXCLUSIVE;

namespace veltro::test {
namespace {

BOOL not_running(id /*self*/, SEL /*command*/) {
  return NO;
}

class Channel : public testing::Test {
protected:
  Channel() { clear_log(); }

  static NSData *bytes(const std::string &text) {
    return [NSData dataWithBytes:text.data() length:text.size()];
  }

  static std::string text(NSData *data) {
    return {static_cast<const char *>([data bytes]), [data length]};
  }

  /// All that a server receives for one request with `payload`, up to the end of the connection.
  static std::string on_the_wire(char identifier, NSData *payload) {
    std::string received;
    {
      const LoopbackServer server([&](Peer &peer) {
        const Request request = read_request(peer);
        peer.write(little_endian(0));
        received = request.identifier + little_endian(request.length) + request.payload +
                   peer.read_to_end();
      });
      [ZLTSocketUtils setSocketPort:server.port()];
      EXPECT_EQ([[ZLTUtils sendMessage:identifier messageData:payload] length], 0U);
      EXPECT_EQ(server.accepted(), 1U);
    }
    return received;
  }

private:
  NamedProcess app_{"WhatsApp"};
};

TEST_F(Channel, CarriesARequestAndItsReply) {
  const LoopbackServer server([](Peer &peer) {
    const Request request = read_request(peer);
    const std::string reply = "re: " + request.payload;
    peer.write(little_endian(reply.size()) + reply);
  });
  [ZLTSocketUtils setSocketPort:server.port()];
  EXPECT_EQ(text([ZLTUtils sendMessage:3 messageData:bytes("hello")]), "re: hello");
  EXPECT_EQ(text([ZLTUtils sendMessage:3 messageData:bytes("again")]), "re: again");
  EXPECT_EQ(server.accepted(), 2U);
  const std::string port = std::to_string(server.port());
  EXPECT_THAT(logged_lines(),
              testing::ElementsAre(
                  "messageId 3 & messageData: <68656c6c 6f>, ZLTSocketUtils socketPort]: " + port,
                  "messageId 3 & messageData: <61676169 6e>, ZLTSocketUtils socketPort]: " + port));
}

TEST_F(Channel, PutsIdentifierLengthAndPayloadOnTheWireAndNothingElse) {
  EXPECT_EQ(on_the_wire(3, bytes("hello")), "\x03" + little_endian(5) + "hello");
  EXPECT_EQ(on_the_wire(-1, bytes("hello")), "\xFF" + little_endian(5) + "hello");
}

TEST_F(Channel, SendsExactlyNineBytesWithoutAPayload) {
  EXPECT_EQ(on_the_wire(-1, nil), "\xFF" + little_endian(0));
  EXPECT_EQ(on_the_wire(0, [NSData data]), std::string(9, '\0'));
}

TEST_F(Channel, TakesALegitimatelyEmptyReplyForEmpty) {
  const LoopbackServer server([](Peer &peer) {
    static_cast<void>(read_request(peer));
    peer.write(little_endian(0));
  });
  [ZLTSocketUtils setSocketPort:server.port()];
  NSData *reply = [ZLTUtils sendMessage:3 messageData:bytes("hello")];
  ASSERT_NE(reply, nil);
  EXPECT_EQ([reply length], 0U);
}

TEST_F(Channel, ComesBackEmptyWhereNobodyListens) {
  const ClosedPort nobody;
  for (const NSInteger port :
       {NSInteger{0}, NSInteger{nobody.port()}, NSInteger{65536}, NSInteger{-1}, NSIntegerMin}) {
    [ZLTSocketUtils setSocketPort:port];
    NSData *reply = [ZLTUtils sendMessage:3 messageData:bytes("hello")];
    ASSERT_NE(reply, nil) << port;
    EXPECT_EQ([reply length], 0U) << port;
  }
  EXPECT_EQ(logged_lines().size(), 5U); // the opening lines, and no error line
}

TEST_F(Channel, UsesTheLow32BitsOfThePort) {
  const LoopbackServer server([](Peer &peer) {
    static_cast<void>(read_request(peer));
    peer.write(little_endian(2) + "ok");
  });
  [ZLTSocketUtils setSocketPort:static_cast<NSInteger>((std::uint64_t{1} << 32) + server.port())];
  EXPECT_EQ(text([ZLTUtils sendMessage:3 messageData:nil]), "ok");
}

TEST_F(Channel, AsksNoServerWhileTheAppIsNotRunning) {
  const ReplacedMethod running {
    class_getClassMethod([ZLTUtils class], @selector(isWhatsAppRunning)), not_running
  };
  const LoopbackServer server([](Peer &) {});
  [ZLTSocketUtils setSocketPort:server.port()];
  NSData *reply = [ZLTUtils sendMessage:3 messageData:bytes("hello")];
  ASSERT_NE(reply, nil);
  EXPECT_EQ([reply length], 0U);
  EXPECT_EQ(server.accepted(), 0U);
  EXPECT_EQ(logged_lines().at(1),
            "com.norvane.Veltro: Error => +[ZLTUtils sendMessage:messageData:], [Line 319], Seems "
            "WhatsApp is not running, hence returning...");
}

TEST_F(Channel, HelpersMoveBytesOverStreamsOfTheCallersOwn) {
  const LoopbackServer server([](Peer &peer) { peer.write(peer.read(5)); });
  CFReadStreamRef read = nullptr;
  CFWriteStreamRef write = nullptr;
  CFStreamCreatePairWithSocketToHost(kCFAllocatorDefault,
                                     reinterpret_cast<CFStringRef>(@"127.0.0.1"), server.port(),
                                     &read, &write);
  CFReadStreamOpen(read);
  CFWriteStreamOpen(write);
  std::string echo(6, '-');
  EXPECT_EQ([ZLTUtils writeBytes:write bytes:"hello" length:5], YES);
  EXPECT_EQ([ZLTUtils readBytes:read buffer:echo.data() length:5], YES);
  EXPECT_EQ(echo, "hello-");
  EXPECT_EQ([ZLTUtils readBytes:read buffer:echo.data() length:0], YES);
  EXPECT_EQ([ZLTUtils readBytes:read buffer:echo.data() length:1], NO);
  CFReadStreamClose(read);
  CFWriteStreamClose(write);
  CFRelease(read);
  CFRelease(write);
}

} // namespace
} // namespace veltro::test
