#include "frameworks/CoreFoundation/tcp_connection.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <limits>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace veltro::host {
namespace {

/// Sends what is held, and all later writes at once.
void send_at_once(int socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

/// A connect that a signal interrupted continues by itself: wait for its outcome.
bool finish_connecting(int socket) {
  pollfd wanted{.fd = socket, .events = POLLOUT, .revents = 0};
  while (poll(&wanted, 1, -1) < 0)
    if (errno != EINTR)
      return false;
  int error = 0;
  socklen_t size = sizeof error;
  return getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

/// A connected socket, or -1.
int connect_to(const sockaddr *address, socklen_t size) {
  const int socket = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket < 0)
    return -1;
  if (connect(socket, address, size) == 0 || (errno == EINTR && finish_connecting(socket)))
    return socket;
  close(socket);
  return -1;
}

int connect_by_name(const char *host, in_port_t port) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo *found = nullptr;
  if (getaddrinfo(host, nullptr, &hints, &found) != 0)
    return -1;
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, freeaddrinfo);
  for (addrinfo *each = found; each != nullptr; each = each->ai_next) {
    if (each->ai_family == AF_INET)
      reinterpret_cast<sockaddr_in *>(each->ai_addr)->sin_port = htons(port);
    else if (each->ai_family == AF_INET6)
      reinterpret_cast<sockaddr_in6 *>(each->ai_addr)->sin6_port = htons(port);
    const int socket = connect_to(each->ai_addr, each->ai_addrlen);
    if (socket >= 0)
      return socket;
  }
  return -1;
}

int connect_to(const char *host, in_port_t port) {
  // The usual host is an IPv4 address, which needs no resolver and none of its files.
  sockaddr_in address{
      .sin_family = AF_INET, .sin_port = htons(port), .sin_addr = {}, .sin_zero = {}};
  if (inet_pton(AF_INET, host, &address.sin_addr) == 1)
    return connect_to(reinterpret_cast<const sockaddr *>(&address), sizeof address);
  return connect_by_name(host, port);
}

} // namespace

TcpConnection::~TcpConnection() {
  if (socket_ >= 0)
    close(socket_);
}

void TcpConnection::open() {
  const std::lock_guard lock(mutex_);
  if (std::exchange(opened_, true))
    return;
  if (port_ <= std::numeric_limits<in_port_t>::max())
    socket_ = connect_to(host_.c_str(), static_cast<in_port_t>(port_));
  if (socket_ >= 0)
    send_at_once(socket_);
}

ssize_t TcpConnection::read(void *buffer, std::size_t length) {
  reading_ = true;
  push();
  ssize_t result = 0;
  do
    result = recv(socket_, buffer, length, 0);
  while (result < 0 && errno == EINTR);
  reading_ = false;
  return result;
}

ssize_t TcpConnection::write(const void *bytes, std::size_t length) {
  // One byte to begin with, then eight: a kind and a length, with more to come behind them.
  const bool field = (written_ == 0 && length == 1) || (written_ == 1 && length == 8);
  const bool hold = field && !reading_;
  ssize_t result = 0;
  do
    result = send(socket_, bytes, length, MSG_NOSIGNAL | (hold ? MSG_MORE : 0));
  while (result < 0 && errno == EINTR);
  written_ += static_cast<std::size_t>(std::max<ssize_t>(result, 0));
  held_ = hold;
  if (reading_) // since a moment ago, perhaps, and before it could see what is held
    push();
  return result;
}

void TcpConnection::push() {
  if (held_.exchange(false))
    send_at_once(socket_);
}

} // namespace veltro::host
