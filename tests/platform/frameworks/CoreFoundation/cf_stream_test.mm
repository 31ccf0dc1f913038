#include "support/loopback_server.hpp"

#include <CoreFoundation/CoreFoundation.h>

#import <Foundation/Foundation.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <mutex>
#include <pthread.h>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <vector>

namespace veltro::test {
namespace {

/// A pair of streams that is the test's to close and release.
struct Pair {
  CFReadStreamRef read = nullptr;
  CFWriteStreamRef write = nullptr;

  explicit Pair(UInt32 port, NSString *host = @"127.0.0.1") {
    CFStreamCreatePairWithSocketToHost(kCFAllocatorDefault, reinterpret_cast<CFStringRef>(host),
                                       port, &read, &write);
  }
  ~Pair() {
    CFRelease(read);
    CFRelease(write);
  }
  Pair(const Pair &) = delete;
  Pair &operator=(const Pair &) = delete;

  void open() const {
    EXPECT_TRUE(CFReadStreamOpen(read));
    EXPECT_TRUE(CFWriteStreamOpen(write));
  }
  void close() const {
    CFReadStreamClose(read);
    CFWriteStreamClose(write);
  }
};

CFIndex write_text(const Pair &pair, const std::string &text) {
  return CFWriteStreamWrite(pair.write, reinterpret_cast<const UInt8 *>(text.data()),
                            static_cast<CFIndex>(text.size()));
}

std::string read_text(const Pair &pair, CFIndex wanted) {
  std::string text(static_cast<std::size_t>(wanted), '\0');
  const CFIndex got = CFReadStreamRead(pair.read, reinterpret_cast<UInt8 *>(text.data()), wanted);
  return got < 0 ? "error" : text.substr(0, static_cast<std::size_t>(got));
}

/// A gate that the test opens for its server.
class Gate {
public:
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  void wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return open_; });
  }

private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
};

TEST(CFStream, CarriesBytesBothWaysOverOneConnection) {
  const LoopbackServer server([](Peer &peer) { peer.write("you said " + peer.read(5)); });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(write_text(pair, "hello"), 5);
  std::string reply;
  for (std::string some = read_text(pair, 64); !some.empty(); some = read_text(pair, 64))
    reply += some;
  EXPECT_EQ(reply, "you said hello");
  EXPECT_EQ(server.accepted(), 1U);
  pair.close();
}

TEST(CFStream, ReadsNoMoreThanAskedForAndThenTheRest) {
  const LoopbackServer server([](Peer &peer) { peer.write("abcdef"); });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(read_text(pair, 1), "a");
  EXPECT_EQ(read_text(pair, 1), "b");
  std::string rest;
  while (rest.size() < 4)
    rest += read_text(pair, 64);
  EXPECT_EQ(rest, "cdef");
  EXPECT_EQ(read_text(pair, 64), "");
  EXPECT_EQ(read_text(pair, 64), "");
}

TEST(CFStream, ReturnsWhatIsThereInsteadOfWaitingForAll) {
  Gate gate;
  const LoopbackServer server([&](Peer &peer) {
    peer.write("ab");
    gate.wait();
  });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(read_text(pair, 1), "a");
  EXPECT_EQ(read_text(pair, 64), "b");
  gate.open();
}

TEST(CFStream, FindsAHostByName) {
  const LoopbackServer server([](Peer &peer) { peer.write(peer.read(2)); });
  const Pair pair(server.port(), @"localhost");
  pair.open();
  EXPECT_EQ(write_text(pair, "ok"), 2);
  EXPECT_EQ(read_text(pair, 2), "ok");
}

TEST(CFStream, FailsInTheTransfersWhereNobodyListens) {
  const ClosedPort nobody;
  const std::size_t before = open_descriptors();
  const Pair pair(nobody.port());
  pair.open();
  EXPECT_EQ(write_text(pair, "x"), -1);
  EXPECT_EQ(read_text(pair, 1), "error");
  EXPECT_EQ(read_text(pair, 1), "error");
  EXPECT_EQ(open_descriptors(), before);
}

TEST(CFStream, FailsInTheTransfersForAPortThatTcpCannotExpress) {
  const LoopbackServer server([](Peer &) {});
  for (const UInt32 port : {0U, 0x10000U + server.port(), 0xFFFFFFFFU}) {
    const Pair pair(port);
    pair.open();
    EXPECT_EQ(write_text(pair, "x"), -1) << port;
    EXPECT_EQ(read_text(pair, 1), "error") << port;
  }
  EXPECT_EQ(server.accepted(), 0U);
}

TEST(CFStream, FailsInTheTransfersForAHostThatDoesNotExist) {
  for (const NSUInteger length : {300U, 3000U}) {
    const Pair pair(80, [@"" stringByPaddingToLength:length withString:@"x" startingAtIndex:0]);
    pair.open();
    EXPECT_EQ(write_text(pair, "x"), -1);
    EXPECT_EQ(read_text(pair, 1), "error");
  }
}

TEST(CFStream, RefusesTransfersBeforeItIsOpenAndAfterItIsClosed) {
  const LoopbackServer server([](Peer &peer) { peer.write("much"); });
  const Pair pair(server.port());
  EXPECT_EQ(write_text(pair, "x"), -1);
  EXPECT_EQ(read_text(pair, 1), "error");
  pair.open();
  EXPECT_EQ(read_text(pair, 1), "m");
  pair.close();
  EXPECT_EQ(write_text(pair, "x"), -1);
  EXPECT_EQ(read_text(pair, 1), "error");
}

TEST(CFStream, RefusesANegativeLength) {
  const LoopbackServer server([](Peer &peer) {
    peer.write("xy");
    static_cast<void>(peer.read_to_end());
  });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(read_text(pair, 1), "x"); // so that there is something to read
  UInt8 byte = 0;
  EXPECT_EQ(CFReadStreamRead(pair.read, &byte, -1), -1);
  EXPECT_EQ(CFWriteStreamWrite(pair.write, &byte, -1), -1);
  EXPECT_EQ(read_text(pair, 1), "y");
}

TEST(CFStream, OpensOnce) {
  const LoopbackServer server([](Peer &peer) { static_cast<void>(peer.read_to_end()); });
  const Pair pair(server.port());
  pair.open();
  EXPECT_FALSE(CFReadStreamOpen(pair.read));
  EXPECT_FALSE(CFWriteStreamOpen(pair.write));
  pair.close();
  EXPECT_FALSE(CFReadStreamOpen(pair.read));
  EXPECT_FALSE(CFWriteStreamOpen(pair.write));
}

volatile std::sig_atomic_t broken_pipes;

TEST(CFStream, RaisesNoSignalWhenThePeerHasGone) {
  struct sigaction count{};
  count.sa_handler = [](int) { broken_pipes = broken_pipes + 1; };
  struct sigaction old{};
  sigaction(SIGPIPE, &count, &old);
  broken_pipes = 0;
  const LoopbackServer server([](Peer &peer) { peer.reset(); });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(read_text(pair, 1), "error"); // the reset has arrived once this returns
  EXPECT_EQ(write_text(pair, "into the void"), -1);
  EXPECT_EQ(broken_pipes, 0);
  sigaction(SIGPIPE, &old, nullptr);
}

TEST(CFStream, StaysFailedAfterAnError) {
  const LoopbackServer server([](Peer &peer) { peer.reset(); });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(read_text(pair, 1), "error");
  EXPECT_EQ(read_text(pair, 1), "error"); // a socket would now say that the stream has ended
}

TEST(CFStream, LetsTheOtherStreamContinueAfterOneIsClosed) {
  const LoopbackServer server([](Peer &peer) { peer.write(peer.read(1)); });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(write_text(pair, "x"), 1);
  CFWriteStreamClose(pair.write);
  EXPECT_EQ(read_text(pair, 1), "x");
}

TEST(CFStream, DeliversAShortWriteWithoutARead) {
  Gate received;
  const LoopbackServer server([&](Peer &peer) {
    EXPECT_EQ(peer.read(2), "ab");
    received.open();
  });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(write_text(pair, "a"), 1);
  EXPECT_EQ(write_text(pair, "b"), 1);
  CFWriteStreamClose(pair.write);
  received.wait();
}

TEST(CFStream, SendsShortWritesAtOnce) {
  Gate gate;
  const LoopbackServer server([&](Peer &) { gate.wait(); });
  const Pair pair(server.port());
  pair.open();
  std::vector<int> unsent;
  for (const std::string text : {"hello", "1", "12345678"}) {
    EXPECT_EQ(write_text(pair, text), static_cast<CFIndex>(text.size()));
    for (const int socket : sockets_connected_to(server.port()))
      if (int bytes = 0; ioctl(socket, SIOCOUTQNSD, &bytes) == 0)
        unsent.push_back(bytes);
  }
  gate.open();
  if (unsent.empty())
    GTEST_SKIP() << "QEMU's user mode does not tell how many bytes are unsent";
  EXPECT_EQ(unsent, std::vector({0, 0, 0}));
}

TEST(CFStream, WritesWhileAnotherThreadWaitsToRead) {
  const LoopbackServer server([](Peer &peer) {
    peer.write("?");
    EXPECT_EQ(peer.read(3), "yes");
    peer.write("!");
  });
  const Pair pair(server.port());
  pair.open();
  EXPECT_EQ(read_text(pair, 1), "?");
  std::thread reader([&] { EXPECT_EQ(read_text(pair, 1), "!"); });
  for (const char *letter : {"y", "e", "s"})
    EXPECT_EQ(write_text(pair, letter), 1);
  reader.join();
}

TEST(CFStream, EndsTheConnectionWhenBothStreamsAreClosed) {
  std::atomic<bool> ended = false;
  Gate gate;
  {
    const LoopbackServer server([&](Peer &peer) {
      ended = peer.read_to_end() == "bye";
      gate.open();
    });
    const Pair pair(server.port());
    pair.open();
    EXPECT_EQ(write_text(pair, "bye"), 3);
    pair.close();
    gate.wait();
    EXPECT_TRUE(ended);
  }
}

/// The steps of a pair's life in an order of its own; every order ends without a descriptor left.
enum class Step { OpenRead, OpenWrite, CloseRead, CloseWrite, ReleaseRead, ReleaseWrite };

TEST(CFStream, LeavesNoDescriptorWhateverTheOrder) {
  using enum Step;
  const std::vector<std::vector<Step>> orders = {
      {ReleaseRead, ReleaseWrite},
      {OpenRead, ReleaseRead, ReleaseWrite},
      {OpenWrite, ReleaseRead, ReleaseWrite},
      {OpenRead, OpenWrite, ReleaseWrite, ReleaseRead},
      {OpenRead, CloseRead, ReleaseRead, ReleaseWrite},
      {OpenRead, CloseRead, OpenWrite, CloseWrite, ReleaseWrite, ReleaseRead},
      {CloseRead, CloseWrite, OpenRead, OpenWrite, ReleaseRead, ReleaseWrite},
      {OpenRead, ReleaseRead, OpenWrite, CloseWrite, ReleaseWrite},
      {OpenRead, OpenWrite, CloseWrite, CloseRead, CloseRead, ReleaseRead, ReleaseWrite},
  };
  const LoopbackServer server([](Peer &peer) { peer.close(); });
  for (std::size_t i = 0; i < orders.size(); ++i) {
    CFReadStreamRef read = nullptr;
    CFWriteStreamRef write = nullptr;
    CFStreamCreatePairWithSocketToHost(nullptr, reinterpret_cast<CFStringRef>(@"127.0.0.1"),
                                       server.port(), &read, &write);
    for (const Step step : orders[i]) {
      switch (step) {
      case OpenRead:
        CFReadStreamOpen(read);
        break;
      case OpenWrite:
        CFWriteStreamOpen(write);
        break;
      case CloseRead:
        CFReadStreamClose(read);
        break;
      case CloseWrite:
        CFWriteStreamClose(write);
        break;
      case ReleaseRead:
        CFRelease(read);
        break;
      case ReleaseWrite:
        CFRelease(write);
        break;
      }
    }
    EXPECT_EQ(sockets_connected_to(server.port()).size(), 0U) << "order " << i;
  }
}

TEST(CFStream, TakesNothingBeforeItIsOpened) {
  const LoopbackServer server([](Peer &) {});
  const Pair pair(server.port());
  EXPECT_EQ(sockets_connected_to(server.port()).size(), 0U);
  EXPECT_EQ(server.accepted(), 0U);
}

TEST(CFStream, MakesOnlyTheStreamThatIsAskedFor) {
  const LoopbackServer server([](Peer &peer) { peer.write("r"); });
  CFReadStreamRef read = nullptr;
  CFWriteStreamRef write = nullptr;
  CFStringRef host = reinterpret_cast<CFStringRef>(@"127.0.0.1");
  CFStreamCreatePairWithSocketToHost(nullptr, host, server.port(), &read, nullptr);
  CFStreamCreatePairWithSocketToHost(nullptr, host, server.port(), nullptr, &write);
  ASSERT_NE(read, nullptr);
  ASSERT_NE(write, nullptr);
  EXPECT_TRUE(CFReadStreamOpen(read));
  UInt8 byte = 0;
  EXPECT_EQ(CFReadStreamRead(read, &byte, 1), 1);
  EXPECT_EQ(byte, 'r');
  CFRelease(read);
  CFRelease(write);
}

TEST(CFStream, IsRetainedAndReleasedAsAnObject) {
  const LoopbackServer server([](Peer &peer) { peer.write(peer.read(1)); });
  const Pair pair(server.port());
  CFRetain(pair.read);
  [(id)pair.write retain];
  pair.open();
  CFRelease(pair.read);
  [(id)pair.write release];
  EXPECT_EQ(write_text(pair, "x"), 1);
  EXPECT_EQ(read_text(pair, 1), "x");
}

TEST(CFStream, KeepsItsDescriptorFromOtherPrograms) {
  Gate gate;
  const LoopbackServer server([&](Peer &) { gate.wait(); });
  const Pair pair(server.port());
  pair.open();
  const std::vector<int> sockets = sockets_connected_to(server.port());
  EXPECT_EQ(sockets.size(), 1U);
  for (const int socket : sockets)
    EXPECT_NE(fcntl(socket, F_GETFD) & FD_CLOEXEC, 0);
  gate.open();
}

TEST(CFStream, IsNotInterruptedBySignals) {
  struct sigaction ignore{};
  ignore.sa_handler = [](int) {}; // without SA_RESTART: a waiting call comes back with EINTR
  struct sigaction old{};
  sigaction(SIGUSR1, &ignore, &old);
  const pthread_t client = pthread_self();
  std::atomic<bool> done = false;
  const std::string block(8U << 20, 'b');
  {
    const LoopbackServer server([&](Peer &peer) {
      EXPECT_EQ(peer.read(block.size()), block);
      for (int i = 0; i < 200; ++i)
        pthread_kill(client, SIGUSR1);
      peer.write("ok");
    });
    std::thread nuisance([&] {
      while (!done) {
        pthread_kill(client, SIGUSR1);
        std::this_thread::yield();
      }
    });
    const Pair pair(server.port());
    pair.open();
    std::size_t total = 0;
    while (total < block.size()) {
      const CFIndex sent = write_text(pair, block.substr(total));
      ASSERT_GE(sent, 1);
      total += static_cast<std::size_t>(sent);
    }
    EXPECT_EQ(read_text(pair, 1), "o");
    EXPECT_EQ(read_text(pair, 1), "k");
    done = true;
    nuisance.join();
  }
  sigaction(SIGUSR1, &old, nullptr);
}

} // namespace
} // namespace veltro::test
