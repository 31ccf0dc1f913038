#include "machine/files/watched_path.hpp"

#include <chrono>
#include <utility>

namespace veltro::host {

WatchedPath::WatchedPath(std::string path) : path_(std::move(path)) {
  using std::chrono::system_clock;
  // More than the longest tick of the kernel's coarse clock (10 ms at 100 Hz).
  constexpr std::chrono::milliseconds kSettling(20);
  // Two looks at the clock: any time may pass before the one or the other.
  const auto before = system_clock::now().time_since_epoch();
  identity_ = now();
  const auto after = system_clock::now().time_since_epoch();
  const auto changed =
      std::chrono::seconds(identity_.seconds) + std::chrono::nanoseconds(identity_.nanoseconds);
  stable_ = changed < before - kSettling || changed > after + kSettling;
}

bool WatchedPath::unchanged() const {
  return stable_ && same();
}

// The change time and not the modification time: programs can set the latter, and becoming readable
// is a change too.
WatchedPath::Identity WatchedPath::now() const {
  struct stat status{};
  if (stat(path_.c_str(), &status) != 0)
    return {};
  return {status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec,
          status.st_ctim.tv_nsec};
}

} // namespace veltro::host
