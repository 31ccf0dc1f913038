#include "machine/files/watched_path.hpp"

#include <cstdlib>
#include <ctime>
#include <utility>

namespace veltro::host {
namespace {

// More than the longest tick of the kernel's coarse clock (10 ms at 100 Hz).
constexpr long long kSettlingNanoseconds = 20'000'000;

long long nanoseconds_since(time_t seconds, long nanoseconds) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return (static_cast<long long>(now.tv_sec) - seconds) * 1'000'000'000 + now.tv_nsec - nanoseconds;
}

} // namespace

WatchedPath::WatchedPath(std::string path)
    : path_(std::move(path)), identity_(now()),
      stable_(!identity_.exists ||
              std::llabs(nanoseconds_since(identity_.seconds, identity_.nanoseconds)) >
                  kSettlingNanoseconds) {}

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
