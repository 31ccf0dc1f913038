#include "support/loopback_server.hpp"

#include <cerrno>
#include <filesystem>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace veltro::test {
namespace {

/// A socket bound to a free port of the loopback interface, and that port.
std::pair<int, std::uint16_t> bound_socket() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto *generic = reinterpret_cast<sockaddr *>(&address);
  if (socket < 0 || bind(socket, generic, size) != 0 || getsockname(socket, generic, &size) != 0)
    throw std::runtime_error("no port");
  return {socket, ntohs(address.sin_port)};
}

std::vector<int> descriptors() {
  std::vector<int> all;
  for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
    all.push_back(std::stoi(entry.path().filename()));
  return all;
}

} // namespace

std::string Peer::read(std::size_t length) const {
  std::string bytes(length, '\0');
  std::size_t total = 0;
  while (total < length) {
    const ssize_t got = recv(socket_, bytes.data() + total, length - total, 0);
    if (got < 0 && errno == EINTR)
      continue;
    if (got < 1)
      break;
    total += static_cast<std::size_t>(got);
  }
  bytes.resize(total);
  return bytes;
}

std::string Peer::read_to_end() const {
  std::string all;
  for (std::string some = read(4096);; some = read(4096)) {
    all += some;
    if (some.size() < 4096)
      return all;
  }
}

void Peer::write(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR)
      continue;
    if (sent < 1)
      return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void Peer::close() {
  if (socket_ >= 0)
    ::close(std::exchange(socket_, -1));
}

void Peer::reset() {
  const linger at_once{.l_onoff = 1, .l_linger = 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  close();
}

LoopbackServer::LoopbackServer(std::function<void(Peer &)> serve, std::size_t workers)
    : serve_(std::move(serve)) {
  std::tie(listener_, port_) = bound_socket();
  if (listen(listener_, SOMAXCONN) != 0)
    throw std::runtime_error("cannot listen");
  for (std::size_t i = 0; i < workers; ++i)
    workers_.emplace_back([this] { work(); });
}

LoopbackServer::~LoopbackServer() {
  shutdown(listener_, SHUT_RDWR); // ends the wait in accept
  for (std::thread &worker : workers_)
    worker.join();
  close(listener_);
}

void LoopbackServer::work() {
  for (;;) {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0 && errno == EINTR)
      continue;
    if (socket < 0)
      return;
    ++accepted_;
    Peer peer(socket);
    serve_(peer);
  }
}

ClosedPort::ClosedPort() {
  std::tie(socket_, port_) = bound_socket();
}

ClosedPort::~ClosedPort() {
  close(socket_);
}

std::vector<int> sockets_connected_to(std::uint16_t port) {
  std::vector<int> found;
  for (const int descriptor : descriptors()) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    if (getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) == 0 &&
        peer.sin_family == AF_INET && ntohs(peer.sin_port) == port)
      found.push_back(descriptor);
  }
  return found;
}

std::size_t open_descriptors() {
  return descriptors().size() - 1; // one of them was the listing's own
}

std::string little_endian(std::uint64_t value) {
  std::string bytes;
  for (int i = 0; i < 8; ++i)
    bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

Request read_request(Peer &peer) {
  Request request;
  request.identifier = peer.read(1);
  const std::string field = peer.read(8);
  for (std::size_t i = 0; i < field.size(); ++i)
    request.length |= std::uint64_t{static_cast<unsigned char>(field[i])} << (8 * i);
  request.payload = peer.read(request.length);
  return request;
}

} // namespace veltro::test
