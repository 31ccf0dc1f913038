// Whether a file or folder changed since it was looked at.
#pragma once

#include <string>
#include <sys/stat.h>

namespace veltro::host {

/// What a path was when the object was made. File times tick coarsely: a path that changed just
/// before it was looked at may change again without a new time, so it counts as changed until it
/// has been looked at once more, later.
class WatchedPath {
public:
  explicit WatchedPath(std::string path);

  /// True while nothing was written to, added to or removed from the path. One stat.
  [[nodiscard]] bool unchanged() const;

  /// Whether the path is still the one that was looked at, as far as file times can tell. One stat.
  [[nodiscard]] bool same() const { return now() == identity_; }

  [[nodiscard]] const std::string &path() const { return path_; }

private:
  /// All zeros where there is nothing.
  struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    time_t seconds = 0;
    long nanoseconds = 0;
    bool operator==(const Identity &) const = default;
  };
  [[nodiscard]] Identity now() const;

  std::string path_;
  Identity identity_;
  bool stable_ = false;
};

} // namespace veltro::host
