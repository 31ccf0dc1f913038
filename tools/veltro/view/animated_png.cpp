#include "animated_png.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <zlib.h>

namespace veltro::tool {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::array<std::uint8_t, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

struct Chunk {
  std::string_view type;
  Bytes data;
};

/// The chunks of a PNG file; nothing where it is none.
std::optional<std::vector<Chunk>> chunks_of(Bytes file) {
  constexpr std::size_t kChunkOverhead = 12;
  std::vector<Chunk> chunks;
  if (file.size() < kSignature.size() || !std::ranges::equal(file.first(8), kSignature))
    return std::nullopt;
  for (file = file.subspan(8); !file.empty();) {
    if (file.size() < kChunkOverhead)
      return std::nullopt;
    std::size_t length = 0;
    for (const std::uint8_t byte : file.first(4))
      length = length << 8 | byte;
    if (file.size() - kChunkOverhead < length)
      return std::nullopt;
    chunks.push_back(
        {{reinterpret_cast<const char *>(file.data()) + 4, 4}, file.subspan(8, length)});
    file = file.subspan(kChunkOverhead + length);
  }
  if (chunks.empty() || chunks.front().type != "IHDR" || chunks.front().data.size() != 13)
    return std::nullopt;
  return chunks;
}

class Writer {
public:
  void begin(std::string_view type) {
    number(0);
    start_ = file_.size();
    file_.insert(file_.end(), type.begin(), type.end());
  }

  void number(std::uint32_t value) {
    short_number(static_cast<std::uint16_t>(value >> 16));
    short_number(static_cast<std::uint16_t>(value));
  }

  void short_number(std::uint16_t value) {
    file_.push_back(static_cast<std::uint8_t>(value >> 8));
    file_.push_back(static_cast<std::uint8_t>(value));
  }

  void bytes(Bytes bytes) { file_.insert(file_.end(), bytes.begin(), bytes.end()); }

  void end() {
    constexpr std::size_t kTypeLength = 4;
    const std::size_t length = file_.size() - start_;
    for (std::size_t place = 0; place < 4; ++place)
      file_[start_ - 4 + place] =
          static_cast<std::uint8_t>((length - kTypeLength) >> (24 - 8 * place));
    number(
        static_cast<std::uint32_t>(crc32(0, file_.data() + start_, static_cast<unsigned>(length))));
  }

  void whole(const Chunk &chunk) {
    begin(chunk.type);
    bytes(chunk.data);
    end();
  }

  std::vector<std::uint8_t> file() { return std::move(file_); }

private:
  std::vector<std::uint8_t> file_{kSignature.begin(), kSignature.end()};
  std::size_t start_ = 0;
};

void write_frame_header(Writer &to, std::uint32_t sequence, Bytes size, std::uint16_t rate) {
  to.begin("fcTL");
  to.number(sequence);
  to.bytes(size);
  to.number(0); // at the left
  to.number(0); // and the top
  to.short_number(1);
  to.short_number(rate);
  to.short_number(0); // stays until the next takes its place, transparency and all
  to.end();
}

} // namespace

std::vector<std::uint8_t> animated_png(std::span<const std::vector<std::uint8_t>> frames,
                                       std::uint16_t rate) {
  Writer to;
  Bytes format;
  std::uint32_t sequence = 0;
  for (const std::vector<std::uint8_t> &frame : frames) {
    const auto chunks = chunks_of(frame);
    if (!chunks || (!format.empty() && !std::ranges::equal(format, chunks->front().data)))
      return {};
    const bool first = format.empty();
    format = chunks->front().data;
    if (first) {
      to.whole(chunks->front());
      to.begin("acTL");
      to.number(static_cast<std::uint32_t>(frames.size()));
      to.number(0); // without end
      to.end();
    }
    write_frame_header(to, sequence++, format.first(8), rate);
    for (const Chunk &chunk : *chunks) {
      if (chunk.type != "IDAT")
        continue;
      if (first) {
        to.whole(chunk);
        continue;
      }
      to.begin("fdAT");
      to.number(sequence++);
      to.bytes(chunk.data);
      to.end();
    }
  }
  if (format.empty())
    return {};
  to.begin("IEND");
  to.end();
  return to.file();
}

} // namespace veltro::tool
