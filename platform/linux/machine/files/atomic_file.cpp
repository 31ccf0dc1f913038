#include "machine/files/atomic_file.hpp"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace veltro::host {
namespace {

bool write_all(int file, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = write(file, contents.data(), contents.size());
    if (written < 0)
      return false;
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

} // namespace

bool replace_file(const std::string &path, std::string_view contents) {
  std::string fresh = path + ".XXXXXX";
  const int file = mkostemp(fresh.data(), O_CLOEXEC);
  if (file < 0)
    return false;
  const bool written = write_all(file, contents) && fsync(file) == 0;
  close(file);
  if (written && rename(fresh.c_str(), path.c_str()) == 0)
    return true;
  unlink(fresh.c_str());
  return false;
}

} // namespace veltro::host
