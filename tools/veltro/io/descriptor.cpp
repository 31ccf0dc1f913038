#include "descriptor.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace veltro::tool {

Descriptor::~Descriptor() {
  if (ours_ && number_ >= 0)
    close(number_);
}

Descriptor open_for_reading(const std::string &path) {
  if (path == "-")
    return Descriptor(STDIN_FILENO, false);
  return Descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

void widen_pipe(int descriptor) {
  constexpr int kPipeSize = 1 << 20;
  fcntl(descriptor, F_SETPIPE_SZ, kPipeSize);
}

std::ptrdiff_t read_full(int descriptor, std::span<std::uint8_t> bytes) {
  std::size_t had = 0;
  while (had < bytes.size()) {
    const ssize_t count = read(descriptor, bytes.data() + had, bytes.size() - had);
    if (count < 0 && errno != EINTR)
      return -1;
    if (count == 0)
      break;
    had += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  return static_cast<std::ptrdiff_t>(had);
}

bool write_all(int descriptor, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR)
      return false;
    if (written > 0)
      bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

} // namespace veltro::tool
