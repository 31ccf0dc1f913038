#include "machine/files/file_lock.hpp"

#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>

namespace veltro::host {
namespace {

bool is_at(const std::string &path, const File &file) {
  struct stat held{};
  struct stat named{};
  return file && fstat(file.number(), &held) == 0 && stat(path.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

} // namespace

FileLock::FileLock(const std::string &path) {
  // What was waited for may have been removed meanwhile, and another one may have its name: the
  // others lock that.
  do {
    file_ = File(path, O_RDONLY);
    error_ = file_ ? 0 : errno;
    while (error_ == 0 && flock(file_.number(), LOCK_EX) != 0)
      if (errno != EINTR)
        error_ = errno;
  } while (error_ == 0 && !is_at(path, file_));
}

} // namespace veltro::host
