#include "examples/messenger/server.hpp"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>

namespace {

using veltro::messenger::Bytes;
using veltro::messenger::Descriptor;
using veltro::messenger::Server;
using veltro::messenger::ServerOptions;
using veltro::messenger::Service;

/// Request 1 says "yes", request 2 breaks off with an exception, request 3 returns its payload.
Service service() {
  return {.limit = [](signed char) { return std::uint64_t{1000}; },
          .reply = [](signed char identifier, Bytes payload) -> Bytes {
            if (identifier == 2)
              throw std::bad_alloc();
            if (identifier == 1)
              return {std::byte{'y'}, std::byte{'e'}, std::byte{'s'}};
            return payload;
          }};
}

class Client {
public:
  explicit Client(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    EXPECT_EQ(connect(socket_.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  }

  void send(std::string_view bytes) const {
    EXPECT_EQ(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }

  void ask(char identifier, const std::string &payload) const {
    std::string request(9, '\0');
    request[0] = identifier;
    request[1] = static_cast<char>(payload.size());
    request[2] = static_cast<char>(payload.size() >> 8);
    send(request + payload);
  }

  /// All that the server sends.
  [[nodiscard]] std::string reply() const {
    std::string bytes;
    std::array<char, 4096> some{};
    for (ssize_t count = 0; (count = recv(socket_.get(), some.data(), some.size(), 0)) > 0;)
      bytes.append(some.data(), static_cast<std::size_t>(count));
    return bytes;
  }

private:
  Descriptor socket_;
};

class MessengerServer : public testing::Test {
protected:
  ~MessengerServer() override {
    EXPECT_EQ(eventfd_write(stop_.get(), 1), 0);
    thread_.join();
  }

  static ServerOptions options() {
    ServerOptions options;
    options.held = 1500;
    return options;
  }

  Descriptor stop_{eventfd(0, EFD_CLOEXEC)};
  Server server_{options(), service()};
  std::thread thread_{[this] { server_.run(stop_.get()); }};
};

const std::string nothing(8, '\0');
const std::string kYes = std::string("\3\0\0\0\0\0\0\0", 8) + "yes";

TEST_F(MessengerServer, RepliesWithNothingWhereTheServiceBreaksOff) {
  const Client broken(server_.port());
  broken.ask(2, "x");
  EXPECT_EQ(broken.reply(), nothing);
  const Client next(server_.port());
  next.ask(1, "x");
  EXPECT_EQ(next.reply(), kYes);
}

TEST_F(MessengerServer, HoldsSoMuchAndNoMore) {
  std::string most(9 + 900, 'x');
  std::memcpy(most.data(), "\3\xE8\3\0\0\0\0\0\0", 9);
  const Client first(server_.port());
  first.send(most);
  // Once this is served, the first client's bytes have been read.
  const Client between(server_.port());
  between.ask(1, "");
  EXPECT_EQ(between.reply(), kYes);

  const Client second(server_.port());
  second.send(most);
  EXPECT_EQ(second.reply(), nothing);

  first.send(std::string(100, 'y'));
  EXPECT_EQ(first.reply().size(), 1008U);
  // What was held is given back: the same once more.
  const Client third(server_.port());
  third.ask(3, std::string(1000, 'z'));
  EXPECT_EQ(third.reply().size(), 1008U);
}

} // namespace
