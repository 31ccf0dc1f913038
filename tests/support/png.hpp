// PNG files put together and taken apart by hand. The pixel data written here are stored and not
// compressed, so that every byte of the file is plain.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace veltro::test {

/// 8 bits a component, `channels` 3 (RGB) or 4 (RGBA); `bytes` row by row. The file as bytes in a
/// string. With `claimed_width` the header tells that width instead.
std::string png_of(std::uint32_t width, std::uint32_t height, std::uint32_t channels,
                   const std::vector<std::uint8_t> &bytes, std::uint32_t claimed_width = 0);

struct PngChunk {
  std::string type;
  std::string bytes;
};

/// What a PNG file is made of. Throws where a chunk is truncated or its checksum is wrong.
std::vector<PngChunk> chunks_of(const std::string &png);

/// The file of these chunks, with right checksums.
std::string png_of(const std::vector<PngChunk> &chunks);

} // namespace veltro::test
