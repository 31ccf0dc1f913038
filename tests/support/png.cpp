#include "support/png.hpp"

#include <algorithm>
#include <stdexcept>

namespace veltro::test {
namespace {

std::string big_endian(std::uint32_t value) {
  std::string bytes;
  for (const int shift : {24, 16, 8, 0})
    bytes += static_cast<char>(value >> shift);
  return bytes;
}

std::uint32_t crc(const std::string &bytes) {
  std::uint32_t value = 0xFFFFFFFF;
  for (const char byte : bytes) {
    value ^= static_cast<std::uint8_t>(byte);
    for (int bit = 0; bit < 8; ++bit)
      value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
  }
  return ~value;
}

std::uint32_t adler(const std::string &bytes) {
  std::uint32_t low = 1;
  std::uint32_t high = 0;
  for (const char byte : bytes) {
    low = (low + static_cast<std::uint8_t>(byte)) % 65521;
    high = (high + low) % 65521;
  }
  return high << 16 | low;
}

std::string stored(const std::string &bytes) {
  std::string out = "\x78\x01";
  for (std::size_t at = 0; at < bytes.size(); at += 65535) {
    const std::size_t count = std::min<std::size_t>(65535, bytes.size() - at);
    out += static_cast<char>(at + count == bytes.size() ? 1 : 0);
    for (const std::size_t length : {count, ~count}) {
      out += static_cast<char>(length);
      out += static_cast<char>(length >> 8);
    }
    out += bytes.substr(at, count);
  }
  return out + big_endian(adler(bytes));
}

std::string chunk(const std::string &type, const std::string &bytes) {
  return big_endian(static_cast<std::uint32_t>(bytes.size())) + type + bytes +
         big_endian(crc(type + bytes));
}

constexpr auto *kSignature = "\x89PNG\r\n\x1A\n";

std::uint32_t number_at(const std::string &bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t place = at; place < at + 4; ++place)
    value = value << 8 | static_cast<std::uint8_t>(bytes.at(place));
  return value;
}

} // namespace

std::string png_of(std::uint32_t width, std::uint32_t height, std::uint32_t channels,
                   const std::vector<std::uint8_t> &bytes, std::uint32_t claimed_width) {
  std::string rows;
  for (std::size_t y = 0; y < height; ++y) {
    rows += '\0';
    rows.append(reinterpret_cast<const char *>(bytes.data()) + y * width * channels,
                width * channels);
  }
  const std::string header = big_endian(claimed_width != 0 ? claimed_width : width) +
                             big_endian(height) + '\x08' + (channels == 4 ? '\x06' : '\x02') +
                             std::string(3, '\0');
  return kSignature + chunk("IHDR", header) + chunk("IDAT", stored(rows)) + chunk("IEND", "");
}

std::vector<PngChunk> chunks_of(const std::string &png) {
  if (!png.starts_with(kSignature))
    throw std::runtime_error("no PNG");
  std::vector<PngChunk> chunks;
  for (std::size_t at = 8; at < png.size(); at += chunks.back().bytes.size() + 12) {
    const std::size_t length = number_at(png, at);
    PngChunk next{png.substr(at + 4, 4), png.substr(at + 8, length)};
    if (chunk(next.type, next.bytes) != png.substr(at, length + 12))
      throw std::runtime_error("a chunk of PNG is damaged: " + next.type);
    chunks.push_back(std::move(next));
  }
  return chunks;
}

std::string png_of(const std::vector<PngChunk> &chunks) {
  std::string png = kSignature;
  for (const PngChunk &each : chunks)
    png += chunk(each.type, each.bytes);
  return png;
}

} // namespace veltro::test
