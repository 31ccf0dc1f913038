#include "server.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <exception>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <span>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <system_error>
#include <utility>

namespace veltro::messenger {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kHeaderLength = 9;
constexpr std::size_t kReplyHeaderLength = 8;
constexpr std::size_t kChunkLength = std::size_t{256} * 1024;
// What is read and thrown away after a reply, so that closing does not reset the connection while
// the reply is still on its way.
constexpr std::size_t kDrainedLimit = std::size_t{64} * 1024 * 1024;

[[noreturn]] void fail(const char *what) {
  throw std::system_error(errno, std::generic_category(), what);
}

Descriptor checked(int number, const char *what) {
  if (number < 0)
    fail(what);
  return Descriptor(number);
}

void watch(const Descriptor &epoll, int operation, int descriptor, std::uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = descriptor;
  if (epoll_ctl(epoll.get(), operation, descriptor, &event) != 0)
    fail("epoll_ctl");
}

/// Whether the call failed for now only and is to be repeated when the descriptor is ready.
bool try_later() {
  return errno == EAGAIN || errno == EINTR;
}

} // namespace

/// One connection, on its way from the request's header to the client's close.
class Server::Client {
public:
  enum class Stage : std::uint8_t { header, payload, reply, drain };

  explicit Client(int number) : socket(number) {}

  [[nodiscard]] signed char identifier() const {
    return static_cast<signed char>(std::to_integer<unsigned char>(header[0]));
  }

  [[nodiscard]] std::uint64_t payload_length() const {
    std::uint64_t length = 0;
    for (std::size_t i = kHeaderLength; i-- > 1;)
      length = length << 8 | std::to_integer<std::uint64_t>(header[i]);
    return length;
  }

  void moved(std::size_t bytes) {
    done += bytes;
    last_move = Clock::now();
  }

  /// Nothing of a request has come yet, or its reply has been given.
  [[nodiscard]] bool idle() const {
    return (stage == Stage::header && done == 0) || stage == Stage::drain;
  }

  /// Whether the next step of this client would move a byte, or find the connection closed.
  [[nodiscard]] bool ready() const {
    pollfd poll{socket.get(), static_cast<short>(stage == Stage::reply ? POLLOUT : POLLIN), 0};
    return ::poll(&poll, 1, 0) > 0;
  }

  void enter(Stage next) {
    stage = next;
    done = 0;
  }

  const Descriptor socket;
  Stage stage = Stage::header;
  std::size_t done = 0; ///< Bytes moved in this stage.
  std::array<std::byte, kHeaderLength> header{};
  std::array<std::byte, kReplyHeaderLength> reply_header{};
  Bytes bytes; ///< The payload, later the reply.
  Clock::time_point last_move = Clock::now();
};

Server::Server(const ServerOptions &options, Service service)
    : options_(options), service_(std::move(service)),
      listener_(checked(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "socket")),
      epoll_(checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")), chunk_(kChunkLength) {
  const int on = 1;
  setsockopt(listener_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(options.port);
  socklen_t length = sizeof address;
  auto *const any = reinterpret_cast<sockaddr *>(&address);
  if (bind(listener_.get(), any, length) != 0)
    fail("bind");
  if (::listen(listener_.get(), SOMAXCONN) != 0)
    fail("listen");
  if (getsockname(listener_.get(), any, &length) != 0)
    fail("getsockname");
  port_ = ntohs(address.sin_port);
}

Server::~Server() = default;

void Server::run(int stop_descriptor) {
  watch(epoll_, EPOLL_CTL_ADD, stop_descriptor, EPOLLIN);
  listen(true);

  Clock::time_point stop_time;
  std::array<epoll_event, 64> events{};
  // Stalls are looked for a few times within the stall time.
  const int pause = static_cast<int>(
      std::clamp<std::chrono::milliseconds::rep>(options_.stall.count() / 4, 1, 1000));
  while (!stopping_ || (!clients_.empty() && Clock::now() - stop_time < options_.stall)) {
    const int count =
        epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), pause);
    if (count < 0 && errno != EINTR)
      fail("epoll_wait");
    for (const epoll_event &event :
         std::span(events).first(static_cast<std::size_t>(std::max(count, 0)))) {
      if (event.data.fd == stop_descriptor) {
        watch(epoll_, EPOLL_CTL_DEL, stop_descriptor, 0);
        stop();
        stop_time = Clock::now();
      } else if (event.data.fd == listener_.get()) {
        accept_clients();
      } else if (const auto client = clients_.find(event.data.fd); client != clients_.end()) {
        serve(*client->second);
      }
    }
    drop_stalled();
    if (count == 0 && !stopping_)
      listen(true);
  }
  clients_.clear();
}

void Server::stop() {
  accept_clients();
  listen(false);
  stopping_ = true;
  // Who comes now is refused at once instead of waiting for a reply.
  listener_ = Descriptor();
}

void Server::listen(bool wanted) {
  if (wanted == listening_)
    return;
  watch(epoll_, wanted ? EPOLL_CTL_ADD : EPOLL_CTL_DEL, listener_.get(), EPOLLIN);
  listening_ = wanted;
}

void Server::accept_clients() {
  for (;;) {
    const int number = accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (number < 0) {
      // Out of descriptors: the others wait in the backlog until a client has gone.
      if (!try_later() && errno != ECONNABORTED)
        listen(false);
      return;
    }
    const int on = 1;
    setsockopt(number, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const auto client = clients_.emplace(number, std::make_unique<Client>(number)).first;
    watch(epoll_, EPOLL_CTL_ADD, number, EPOLLIN);
    // Most requests have arrived by now.
    serve(*client->second);
  }
}

void Server::serve(Client &client) {
  switch (client.stage) {
  case Client::Stage::header:
  case Client::Stage::payload:
    return receive(client);
  case Client::Stage::reply:
    return send(client);
  case Client::Stage::drain:
    return drain(client);
  }
}

void Server::receive(Client &client) {
  const bool in_header = client.stage == Client::Stage::header;
  const std::uint64_t length = in_header ? kHeaderLength : client.payload_length();
  const std::span<std::byte> target =
      in_header
          ? std::span(client.header).subspan(client.done)
          : std::span(chunk_).first(std::min<std::uint64_t>(length - client.done, kChunkLength));
  const ssize_t count = recv(client.socket.get(), target.data(), target.size(), 0);
  if (count < 0)
    return try_later() ? void() : drop(client);
  if (count == 0) // The request ends before its end, but the client may still be listening.
    return reply(client, {});

  const auto moved = static_cast<std::size_t>(count);
  client.moved(moved);
  if (!in_header) {
    const auto received = target.first(moved);
    client.bytes.insert(client.bytes.end(), received.begin(), received.end());
    held_ += moved;
  }
  if (client.done == length)
    return finish_request(client);
  if (held_ > options_.held)
    reply(client, {});
}

void Server::finish_request(Client &client) {
  if (client.stage == Client::Stage::header) {
    if (client.payload_length() > service_.limit(client.identifier()))
      return reply(client, {});
    client.enter(Client::Stage::payload);
    return client.payload_length() == 0 ? finish_request(client) : receive(client);
  }
  held_ -= client.bytes.size();
  Bytes content;
  try {
    content = service_.reply(client.identifier(), std::exchange(client.bytes, {}));
  } catch (const std::exception &) {
    // Out of memory, as a rule. One request fails; the other clients are still to be served.
    content.clear();
  }
  reply(client, std::move(content));
}

void Server::reply(Client &client, Bytes bytes) {
  held_ -= client.bytes.size();
  if (held_ + bytes.size() > options_.held)
    bytes.clear();
  held_ += bytes.size();
  client.bytes = std::move(bytes);
  for (std::size_t i = 0; i < kReplyHeaderLength; ++i)
    client.reply_header[i] = static_cast<std::byte>(client.bytes.size() >> (8 * i));
  client.enter(Client::Stage::reply);
  watch(epoll_, EPOLL_CTL_MOD, client.socket.get(), EPOLLOUT);
  send(client);
}

void Server::send(Client &client) {
  const auto rest = [&](std::span<std::byte> part, std::size_t before) {
    const auto left =
        part.subspan(std::min(client.done - std::min(client.done, before), part.size()));
    return iovec{left.data(), left.size()};
  };
  std::array parts{rest(client.reply_header, 0), rest(client.bytes, kReplyHeaderLength)};
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  const ssize_t count = sendmsg(client.socket.get(), &message, MSG_NOSIGNAL);
  if (count < 0)
    return try_later() ? void() : drop(client);
  client.moved(static_cast<std::size_t>(count));
  if (client.done < kReplyHeaderLength + client.bytes.size())
    return;

  held_ -= client.bytes.size();
  client.bytes = {};
  client.enter(Client::Stage::drain);
  shutdown(client.socket.get(), SHUT_WR);
  watch(epoll_, EPOLL_CTL_MOD, client.socket.get(), EPOLLIN);
}

void Server::drain(Client &client) {
  const ssize_t count = recv(client.socket.get(), chunk_.data(), chunk_.size(), 0);
  if (count < 0 && try_later())
    return;
  if (count > 0)
    client.moved(static_cast<std::size_t>(count));
  if (count <= 0 || client.done > kDrainedLimit)
    drop(client);
}

void Server::drop(Client &client) {
  held_ -= client.bytes.size();
  clients_.erase(client.socket.get());
  if (!stopping_)
    listen(true);
}

void Server::drop_stalled() {
  const Clock::time_point now = Clock::now();
  std::vector<Client *> gone;
  for (const auto &[number, client] : clients_) {
    const bool stalled = now - client->last_move > options_.stall;
    // Whoever waits for us, and not we for them, has not stalled.
    if ((stalled || (stopping_ && client->idle())) && !client->ready())
      gone.push_back(client.get());
  }
  for (Client *client : gone)
    drop(*client);
}

} // namespace veltro::messenger
