#include "machine/files/first_line.hpp"

#include "machine/files/file.hpp"

#include <array>
#include <string_view>

namespace veltro::host {

std::string first_line(const char *path) {
  const File file(path, O_RDONLY);
  std::array<char, 255> bytes{};
  const ssize_t count = read(file.number(), bytes.data(), bytes.size());

  constexpr std::string_view blanks(" \t\r\0", 4);
  std::string_view line(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  line = line.substr(0, line.find('\n'));
  const std::size_t begin = line.find_first_not_of(blanks);
  if (begin == std::string_view::npos)
    return {};
  return std::string(line.substr(begin, line.find_last_not_of(blanks) + 1 - begin));
}

} // namespace veltro::host
