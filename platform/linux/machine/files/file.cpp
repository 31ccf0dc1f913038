#include "machine/files/file.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace veltro::host {

bool write_all(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count >= 0)
      bytes.remove_prefix(static_cast<std::size_t>(count));
    else if (errno != EINTR)
      return false;
  }
  return true;
}

std::optional<std::string> read_all(int file) {
  std::string bytes;
  std::array<char, 1 << 14> part;
  while (true) {
    const ssize_t count = read(file, part.data(), part.size());
    if (count == 0)
      return bytes;
    if (count > 0)
      bytes.append(part.data(), static_cast<std::size_t>(count));
    else if (errno != EINTR)
      return std::nullopt;
  }
}

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
