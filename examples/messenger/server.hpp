// The serving end of the request channel: one thread, any number of clients, one request and one
// reply a connection. What the bytes mean is the service's business.
#pragma once

#include "descriptor.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace veltro::messenger {

using Bytes = std::vector<std::byte>;

/// Serves requests; called on the server's thread only.
struct Service {
  /// The longest payload that a request with this identifier may announce.
  std::function<std::uint64_t(signed char identifier)> limit;
  /// The reply to a whole request; empty where there is nothing to say.
  std::function<Bytes(signed char identifier, Bytes payload)> reply;
};

struct ServerOptions {
  std::uint16_t port = 0; ///< 0 lets the kernel choose.
  /// A client that neither sends nor takes a byte for this long is dropped.
  std::chrono::milliseconds stall{10'000};
  /// Payloads and replies of all clients together; a request beyond it gets an empty reply.
  std::size_t held = std::size_t{512} * 1024 * 1024;
};

class Server {
public:
  /// Listens on 127.0.0.1. Throws std::system_error where it cannot.
  Server(const ServerOptions &options, Service service);
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  [[nodiscard]] std::uint16_t port() const { return port_; }

  /// Serves until `stop_descriptor` becomes readable; then takes no new client, lets those that are
  /// being served finish, and returns within the stall time.
  void run(int stop_descriptor);

private:
  class Client;
  using Clients = std::unordered_map<int, std::unique_ptr<Client>>;

  void accept_clients();
  void serve(Client &client);
  void receive(Client &client);
  void finish_request(Client &client);
  void reply(Client &client, Bytes bytes);
  void send(Client &client);
  void drain(Client &client);
  void drop(Client &client);
  void drop_stalled();
  void listen(bool wanted);
  void stop();

  const ServerOptions options_;
  const Service service_;
  Descriptor listener_;
  const Descriptor epoll_;
  std::uint16_t port_ = 0;
  Clients clients_;
  Bytes chunk_;
  std::size_t held_ = 0; ///< Bytes of payloads and replies in memory.
  bool listening_ = false;
  bool stopping_ = false;
};

} // namespace veltro::messenger
