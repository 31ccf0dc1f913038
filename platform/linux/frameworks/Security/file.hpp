// A file descriptor of one owner.
#pragma once

#include <fcntl.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace veltro::host::keychain {

class File {
public:
  File() = default;
  File(const std::string &path, int flags, mode_t mode = 0)
      : number_(::open(path.c_str(), flags | O_CLOEXEC, mode)) {}
  /// Takes over a descriptor, or none where it is negative.
  static File of(int number) {
    File file;
    file.number_ = number;
    return file;
  }
  ~File() {
    if (number_ >= 0)
      ::close(number_);
  }
  File(File &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  File &operator=(File &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  [[nodiscard]] int number() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

private:
  int number_ = -1;
};

} // namespace veltro::host::keychain
