// A connect that a signal interrupts: this program's own connect and poll say that one did.

#include "support/loopback_server.hpp"

#include <CoreFoundation/CoreFoundation.h>

#import <Foundation/Foundation.h>

#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

int interruptions_of_connect;
int interruptions_of_poll;
int error_of_poll;

template <typename Function> Function *original(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

int interrupted(int &times) {
  --times;
  errno = EINTR;
  return -1;
}

} // namespace

extern "C" {

// The connection continues by itself after the signal.
int connect(int socket, const sockaddr *address, socklen_t size) {
  const int result = original<decltype(connect)>("connect")(socket, address, size);
  return interruptions_of_connect > 0 ? interrupted(interruptions_of_connect) : result;
}

int poll(pollfd *descriptors, nfds_t count, int timeout) {
  if (interruptions_of_poll > 0)
    return interrupted(interruptions_of_poll);
  if (error_of_poll != 0) {
    errno = error_of_poll;
    return -1;
  }
  return original<decltype(poll)>("poll")(descriptors, count, timeout);
}

} // extern "C"

namespace veltro::test {
namespace {

/// What a server that sends "x" gives to a client, -1 where there is no connection.
CFIndex read_one_byte(std::size_t &sockets_left) {
  const LoopbackServer server([](Peer &peer) { peer.write("x"); });
  CFReadStreamRef stream = nullptr;
  CFStreamCreatePairWithSocketToHost(nullptr, reinterpret_cast<CFStringRef>(@"127.0.0.1"),
                                     server.port(), &stream, nullptr);
  CFReadStreamOpen(stream);
  UInt8 byte = 0;
  const CFIndex got = CFReadStreamRead(stream, &byte, 1);
  CFRelease(stream);
  sockets_left = sockets_connected_to(server.port()).size();
  return got;
}

TEST(InterruptedConnect, WaitsForItsOutcome) {
  interruptions_of_connect = 1;
  interruptions_of_poll = 2;
  std::size_t left = 0;
  EXPECT_EQ(read_one_byte(left), 1);
  EXPECT_EQ(interruptions_of_connect, 0);
  EXPECT_EQ(interruptions_of_poll, 0);
  EXPECT_EQ(left, 0U);
}

TEST(InterruptedConnect, FailsWhereItsOutcomeCannotBeKnown) {
  interruptions_of_connect = 1;
  error_of_poll = ENOMEM;
  std::size_t left = 0;
  EXPECT_EQ(read_one_byte(left), -1);
  error_of_poll = 0;
  EXPECT_EQ(left, 0U);
}

} // namespace
} // namespace veltro::test
