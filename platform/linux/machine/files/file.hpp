// A file descriptor of one owner, whole transfers through it, and files that are replaced whole.
#pragma once

#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace veltro::host {

class File {
public:
  File() = default;
  File(const std::string &path, int flags, mode_t mode = 0)
      : number_(::open(path.c_str(), flags | O_CLOEXEC, mode)) {}
  /// Owns the descriptor `number` from now on; none where it is negative.
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

/// Writes all of `bytes`, over interruptions by signals; false with errno set where that fails.
bool write_all(int file, std::string_view bytes);

/// All that is left to read, over interruptions by signals; nothing with errno set where that
/// fails.
std::optional<std::string> read_all(int file);

/// Replaces the file at `path` as a whole, so that a reader in any process sees the old one or the
/// new one: writes `contents` to a new file of mode 0600 beside it, to the disk, and renames that.
/// Whether it could; where not, errno says why, `path` is as it was and nothing is left behind.
bool replace_file(const std::string &path, std::string_view contents);

} // namespace veltro::host
