// A lock that processes take turns with.
#pragma once

#include "machine/files/file.hpp"

#include <string>

namespace veltro::host {

/// Exclusive among all processes that lock the same file or folder, from construction until the
/// object goes away or the process ends. Waits its turn.
class FileLock {
public:
  /// `path` must exist.
  explicit FileLock(const std::string &path);

  /// Whether it is held; where not, `error` has the errno of why.
  explicit operator bool() const { return error_ == 0; }
  [[nodiscard]] int error() const { return error_; }

private:
  File file_;
  int error_ = 0;
};

} // namespace veltro::host
