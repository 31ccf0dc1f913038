// /proc as proc(5) documents it: a folder a process, named for its id.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <dirent.h>
#include <memory>
#include <span>
#include <string_view>
#include <sys/types.h>
#include <unistd.h>

namespace veltro::host {

/// The kernel cuts the name of a program that it runs at 15 bytes.
constexpr std::size_t kKernelNameLength = 15;

/// What stands behind the name in a file stat, from the state on. The name may hold brackets of its
/// own; what follows it holds none.
inline std::string_view fields_of(std::string_view status) {
  return status.substr(std::min(status.rfind(')') + 2, status.size()));
}

/// The path of a file of one process, relative to /proc.
inline std::array<char, 32> proc_path(pid_t process, std::string_view file) {
  std::array<char, 32> path{};
  char *const end = std::to_chars(path.begin(), path.end(), process).ptr;
  *end = '/';
  std::ranges::copy(file, end + 1);
  return path;
}

/// The path of the file that the process runs, in `target`; empty where it tells none.
inline std::string_view executable_of(int proc, pid_t process, std::span<char> target) {
  const ssize_t length =
      readlinkat(proc, proc_path(process, "exe").data(), target.data(), target.size());
  return {target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

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
