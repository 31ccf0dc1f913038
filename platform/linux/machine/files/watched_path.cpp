#include "machine/files/watched_path.hpp"

#include <ctime>
#include <utility>

namespace veltro::host {
namespace {

// More than the longest tick of the kernel's coarse clock (10 ms at 100 Hz).
constexpr long long kSettlingNanoseconds = 20'000'000;

long long nanoseconds(long long seconds, long long rest) {
  return seconds * 1'000'000'000 + rest;
}

long long coarse_time() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return nanoseconds(now.tv_sec, now.tv_nsec);
}

} // namespace

WatchedPath::WatchedPath(std::string path) : path_(std::move(path)) {
  // Two looks at the clock: any time may pass before the one or the other.
  const long long before = coarse_time();
  identity_ = now();
  const long long after = coarse_time();
  const long long changed = nanoseconds(identity_.seconds, identity_.nanoseconds);
  stable_ = !identity_.exists || changed < before - kSettlingNanoseconds ||
            changed > after + kSettlingNanoseconds;
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
  return {true,           status.st_dev,         status.st_ino,
          status.st_size, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

} // namespace veltro::host
