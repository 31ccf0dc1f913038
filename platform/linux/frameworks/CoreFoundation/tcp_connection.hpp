// One outgoing TCP connection over POSIX sockets, blocking, shared by the two streams of a pair.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <utility>

namespace veltro::host {

class TcpConnection {
public:
  /// Notes where to connect to, and takes no resource yet. A port that TCP cannot express is one
  /// that nobody listens on.
  TcpConnection(std::string host, std::uint32_t port) : host_(std::move(host)), port_(port) {}
  ~TcpConnection();
  TcpConnection(const TcpConnection &) = delete;
  TcpConnection &operator=(const TcpConnection &) = delete;

  /// Looks the host up and connects to the first of its addresses that accepts. Only the first call
  /// tries; any thread may call.
  void open();

  /// What recv and send return: -1 as well where there is no connection. Signals do not interrupt
  /// them, and a connection that the peer has ended raises none. One thread may read while another
  /// writes.
  ///
  /// A first write of one byte, and one of eight behind it, are held while nobody reads, so that a
  /// request that is written field by field wakes its server once. The kernel sends what is held
  /// with the next write, when a read begins, at `push`, at the end of the connection, and by
  /// itself after 200 ms. All other writes are sent at once.
  ssize_t read(void *buffer, std::size_t length);
  ssize_t write(const void *bytes, std::size_t length);
  void push();

private:
  std::string host_;
  std::uint32_t port_;
  std::mutex mutex_; // guards the opening
  bool opened_ = false;
  int socket_ = -1;
  std::size_t written_ = 0; // by the one thread that writes
  std::atomic<bool> reading_ = false;
  std::atomic<bool> held_ = false;
};

} // namespace veltro::host
