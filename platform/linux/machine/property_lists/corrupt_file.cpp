#include "machine/property_lists/corrupt_file.hpp"

#include "machine/files/watched_path.hpp"
#include "machine/log/log_line.hpp"

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <unistd.h>

namespace veltro::host {
namespace {

/// Whether the file is there and has not been reported as it is now.
bool is_news(const std::string &path) {
  // Never destroyed: another thread may still ask while the process ends.
  static std::mutex &mutex = *new std::mutex;
  static auto &reported = *new std::map<std::string, WatchedPath>;
  if (access(path.c_str(), F_OK) != 0)
    return false;
  const std::lock_guard lock(mutex);
  const auto known = reported.find(path);
  if (known != reported.end() && known->second.same())
    return false;
  reported.insert_or_assign(path, WatchedPath(path));
  return true;
}

} // namespace

void log_corrupt_file(const std::string &path) {
  if (is_news(path))
    log_line("Not a property list, counts as missing: " + path);
}

bool quarantine_file(const std::string &path) {
  for (int number = 1;; ++number) {
    const std::string kept = path + ".corrupt-" + std::to_string(number);
    // A link, because a rename would replace what was kept before.
    if (link(path.c_str(), kept.c_str()) == 0 && unlink(path.c_str()) == 0) {
      log_line("Not a property list, kept as " + kept);
      return true;
    }
    if (errno != EEXIST) {
      log_line("Not a property list, and cannot be renamed: " + path + ": " + std::strerror(errno));
      return false;
    }
  }
}

} // namespace veltro::host
