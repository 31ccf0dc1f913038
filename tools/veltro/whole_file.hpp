// Files read and written in one piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace veltro::tool {

/// Appends the file's bytes to `bytes`; "-" is standard input. Answers what went wrong, or nothing:
/// a folder, no permission, more than `limit` bytes.
std::string read_whole_file(const std::string &path, std::size_t limit,
                            std::vector<std::uint8_t> &bytes);

/// Writes the file; "-" is standard output. A file that was there is replaced only once the new one
/// is whole. Answers what went wrong, or nothing.
std::string write_whole_file(const std::string &path, std::span<const std::uint8_t> bytes);

} // namespace veltro::tool
