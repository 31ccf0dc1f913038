#include "machine/files/file_lock.hpp"

#include <cerrno>
#include <sys/file.h>

namespace veltro::host {

FileLock::FileLock(const std::string &path) : file_(path, O_RDONLY) {
  if (!file_) {
    error_ = errno;
    return;
  }
  while (flock(file_.number(), LOCK_EX) != 0) {
    if (errno == EINTR)
      continue;
    error_ = errno;
    return;
  }
}

} // namespace veltro::host
