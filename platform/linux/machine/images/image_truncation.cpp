#include "machine/images/image_files.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace veltro::host {
namespace {

using namespace std::literals;
using Bytes = std::span<const std::uint8_t>;

std::size_t big_endian(Bytes bytes) {
  std::size_t value = 0;
  for (const std::uint8_t byte : bytes)
    value = value << 8 | byte;
  return value;
}

// A PNG is a row of chunks: length, type, that many bytes and a checksum. The last is IEND.
bool png_is_truncated(Bytes rest) {
  constexpr std::size_t kFrame = 12;
  while (rest.size() >= kFrame) {
    const std::size_t length = big_endian(rest.first(4));
    if (rest.size() - kFrame < length)
      return true;
    if (std::ranges::equal(rest.subspan(4, 4), "IEND"sv))
      return false;
    rest = rest.subspan(kFrame + length);
  }
  return true;
}

// A JPEG is a row of markers (FF and a code). Most lead a segment that begins with its length;
// after the header of a scan come bytes in which every FF is followed by 00 or by the code of a
// restart. The last marker is D9.
bool jpeg_is_truncated(Bytes rest) {
  constexpr std::uint8_t kEndOfImage = 0xD9;
  while (rest.size() >= 2) {
    const std::uint8_t code = rest[1];
    const bool is_marker = rest[0] == 0xFF && code != 0x00 && code != 0xFF;
    if (is_marker && code == kEndOfImage)
      return false;
    if (!is_marker)
      rest = rest.subspan(1);
    else if (code == 0x01 || (code >= 0xD0 && code <= 0xD8))
      rest = rest.subspan(2);
    else if (rest.size() < 4)
      return true;
    else
      rest = rest.subspan(std::min(rest.size(), 2 + big_endian(rest.subspan(2, 2))));
  }
  return true;
}

} // namespace

bool is_truncated(Bytes file) {
  const std::string_view text(reinterpret_cast<const char *>(file.data()), file.size());
  if (text.starts_with("\x89PNG\r\n\x1A\n"))
    return png_is_truncated(file.subspan(8));
  if (text.starts_with("\xFF\xD8\xFF"))
    return jpeg_is_truncated(file.subspan(2));
  // A BMP says its length after that, the low byte first.
  return text.starts_with("BM") &&
         (file.size() < 6 ||
          big_endian(std::array{file[5], file[4], file[3], file[2]}) > file.size());
}

} // namespace veltro::host
