// /proc as proc(5) documents it: a folder a process, named for its id.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <dirent.h>
#include <memory>
#include <string_view>
#include <sys/types.h>

namespace veltro::host {

/// The path of a file of one process, relative to /proc.
class ProcPath {
public:
  ProcPath(pid_t process, std::string_view file) {
    char *const end = std::to_chars(text_.begin(), text_.end(), process).ptr;
    *end = '/';
    std::ranges::copy(file, end + 1);
  }

  [[nodiscard]] const char *text() const { return text_.data(); }

private:
  std::array<char, 32> text_{};
};

/// /proc opened once and read process by process; closed at the end of the scope.
class ProcFolder {
public:
  explicit operator bool() const { return stream_ != nullptr; }
  [[nodiscard]] int descriptor() const { return dirfd(stream_.get()); }

  /// The id of the next process, or 0 after the last one.
  [[nodiscard]] pid_t next() const {
    while (const dirent *const entry = readdir(stream_.get())) {
      const std::string_view name = entry->d_name;
      pid_t process = 0;
      const auto [end, error] = std::from_chars(name.begin(), name.end(), process);
      if (error == std::errc{} && end == name.end() && process > 0)
        return process;
    }
    return 0;
  }

private:
  std::unique_ptr<DIR, decltype(&closedir)> stream_{opendir("/proc"), closedir};
};

} // namespace veltro::host
