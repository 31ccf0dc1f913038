#include "messenger.hpp"

#include "published_port.hpp"
#include "requests.hpp"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <sys/stat.h>

namespace veltro::messenger {
namespace {

/// Readable when the process is asked to end. Signals are blocked, so that a save is never cut
/// short.
Descriptor end_requested() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return Descriptor(signalfd(-1, &signals, SFD_CLOEXEC));
}

int give_up(std::string_view reason) {
  std::cerr << "WhatsApp: " << reason << '\n';
  return 1;
}

} // namespace

int run_messenger(const std::string &device_root, const ServerOptions &options) try {
  const Descriptor end = end_requested();
  umask(077);
  const std::filesystem::path folder = device_root + "/var/mobile/Library/WhatsApp";
  std::filesystem::create_directories(folder);

  // Two messengers on one root would publish over each other.
  const Descriptor lock(open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (lock.get() < 0 || flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
    return give_up("another messenger is serving " + device_root);

  std::string error;
  const std::unique_ptr<Store> store = Store::open(folder / "conversations.sqlite", error);
  if (!store)
    return give_up("cannot open the conversations: " + error);

  Server server(options, {payload_limit, [&store](signed char identifier, Bytes payload) {
                            return reply_to(*store, identifier, std::move(payload));
                          }});
  const PublishedPort published(device_root, server.port());
  if (!published.published())
    return give_up("cannot publish the port");
  std::cout << "WhatsApp: serving on 127.0.0.1 port " << server.port() << '\n' << std::flush;
  server.run(end.get());
  return 0;
} catch (const std::exception &failure) {
  return give_up(failure.what());
}

} // namespace veltro::messenger
