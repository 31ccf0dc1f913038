#include "machine/files/atomic_file.hpp"

#include "machine/files/file.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace veltro::host {
bool replace_file(const std::string &path, std::string_view contents) {
  std::string fresh = path + ".XXXXXX";
  const File file = File::of(mkostemp(fresh.data(), O_CLOEXEC));
  if (!file)
    return false;
  const bool written = write_all(file.number(), contents) && fsync(file.number()) == 0;
  if (written && rename(fresh.c_str(), path.c_str()) == 0)
    return true;
  const int error = errno;
  unlink(fresh.c_str());
  errno = error;
  return false;
}

} // namespace veltro::host
