// A server of a test's own on the loopback interface, and what the tests write such servers with.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace veltro::test {

/// The server's end of one connection.
class Peer {
public:
  explicit Peer(int socket) : socket_(socket) {}
  ~Peer() { close(); }
  Peer(const Peer &) = delete;
  Peer &operator=(const Peer &) = delete;

  /// Exactly `length` bytes, or fewer where the client ended first.
  [[nodiscard]] std::string read(std::size_t length) const;
  /// All that the client sends until it ends the connection.
  [[nodiscard]] std::string read_to_end() const;
  /// Stops quietly where the client has gone.
  void write(std::string_view bytes) const;
  void close();
  /// Ends the connection with a reset.
  void reset();

private:
  int socket_;
};

/// Listens on a free port of 127.0.0.1 and lets `serve` talk to every client, to as many at once as
/// there are `workers`. Going away waits until the clients that were accepted have been served.
class LoopbackServer {
public:
  explicit LoopbackServer(std::function<void(Peer &)> serve, std::size_t workers = 4);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer &) = delete;
  LoopbackServer &operator=(const LoopbackServer &) = delete;

  [[nodiscard]] std::uint16_t port() const { return port_; }
  /// How many connections were accepted so far.
  [[nodiscard]] std::size_t accepted() const { return accepted_; }

private:
  void work();

  std::function<void(Peer &)> serve_;
  int listener_;
  std::uint16_t port_;
  std::atomic<std::size_t> accepted_ = 0;
  std::vector<std::thread> workers_;
};

/// A port of 127.0.0.1 on which nobody listens while this object lives.
class ClosedPort {
public:
  ClosedPort();
  ~ClosedPort();
  ClosedPort(const ClosedPort &) = delete;
  ClosedPort &operator=(const ClosedPort &) = delete;

  [[nodiscard]] std::uint16_t port() const { return port_; }

private:
  int socket_;
  std::uint16_t port_;
};

/// The descriptors of this process that are connected to `port`, as a client's are.
std::vector<int> sockets_connected_to(std::uint16_t port);

/// How many descriptors this process has open.
std::size_t open_descriptors();

/// `value` as 8 bytes, least significant first.
std::string little_endian(std::uint64_t value);

/// One request as a server reads it; the payload is empty where the client ended early.
struct Request {
  std::string identifier;
  std::uint64_t length = 0;
  std::string payload;
};
Request read_request(Peer &peer);

} // namespace veltro::test
