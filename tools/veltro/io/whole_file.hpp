// Files read and written in one piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace veltro::tool {

/// How long a file may be, and what is said of a longer one.
struct LongestFile {
  std::size_t bytes;
  const char *excess;
};

/// Appends the file's bytes to `bytes`; "-" is standard input. Returns what went wrong, or nothing:
/// a folder, no permission, a file that is too long, of which one byte more is read than allowed.
/// The bytes go nowhere else, and stay where they are if memory is reserved for all of them.
std::string read_whole_file(const std::string &path, LongestFile longest,
                            std::vector<std::uint8_t> &bytes);

/// Writes the file; "-" is standard output. A file that was there is replaced only once the new one
/// is whole. Returns what went wrong, or nothing.
std::string write_whole_file(const std::string &path, std::span<const std::uint8_t> bytes);

} // namespace veltro::tool
