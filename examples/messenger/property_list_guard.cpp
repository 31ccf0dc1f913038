#include "property_list_guard.hpp"

#include <cstdint>
#include <cstring>
#include <optional>

namespace veltro::messenger {
namespace {

constexpr std::size_t magic_length = 8;
constexpr std::size_t trailer_length = 32;
constexpr int deepest = 16;
constexpr std::size_t most_objects = 4096;
constexpr std::size_t most_bytes = std::size_t{4} * 1024 * 1024;

using Bytes = std::span<const std::byte>;

std::uint64_t big_endian(Bytes bytes) {
  std::uint64_t number = 0;
  for (const std::byte byte : bytes)
    number = number << 8 | std::to_integer<std::uint64_t>(byte);
  return number;
}

class Walk {
public:
  explicit Walk(Bytes list) : list_(list) {}

  bool run() {
    if (list_.size() < magic_length + trailer_length ||
        std::memcmp(list_.data(), "bplist00", magic_length) != 0)
      return false;
    const Bytes trailer = list_.last(trailer_length);
    offset_width_ = std::to_integer<std::size_t>(trailer[6]);
    reference_width_ = std::to_integer<std::size_t>(trailer[7]);
    count_ = big_endian(trailer.subspan(8, 8));
    const std::uint64_t top = big_endian(trailer.subspan(16, 8));
    const std::uint64_t table = big_endian(trailer.subspan(24, 8));
    const std::size_t end = list_.size() - trailer_length;
    if (!is_width(offset_width_) || !is_width(reference_width_) || count_ > most_objects ||
        table < magic_length || table > end || (end - table) / offset_width_ < count_)
      return false;
    objects_ = list_.first(table);
    offsets_ = list_.subspan(table);
    return visit(top, 0);
  }

private:
  static bool is_width(std::size_t width) { return width == 1 || width == 2 || width == 4; }

  // NOLINTNEXTLINE(misc-no-recursion): as deep as `deepest` says.
  bool visit(std::uint64_t object, int depth) {
    if (object >= count_ || depth > deepest || ++visited_ > most_objects)
      return false;
    const std::uint64_t offset =
        big_endian(offsets_.subspan(object * offset_width_, offset_width_));
    if (offset < magic_length || offset >= objects_.size())
      return false;
    Bytes rest = objects_.subspan(offset);
    const auto marker = std::to_integer<unsigned>(rest.front());
    rest = rest.subspan(1);
    const unsigned low = marker & 0xFU;
    switch (marker >> 4) {
    case 0x0:
      return low == 0x8 || low == 0x9;
    case 0x1:
      return low <= 3 && rest.size() >= std::size_t{1} << low;
    case 0x2:
      return (low == 2 || low == 3) && rest.size() >= std::size_t{1} << low;
    case 0x3:
      return low == 3 && rest.size() >= 8;
    case 0x4:
    case 0x5:
      return has_bytes(low, rest, 1);
    case 0x6:
      return has_bytes(low, rest, 2);
    case 0x8:
      return low <= 3 && rest.size() > low;
    case 0xA:
      return visit_members(low, rest, 1, depth);
    case 0xD:
      return visit_members(low, rest, 2, depth);
    default:
      return false;
    }
  }

  /// The length of an object, which stands in its marker or, when that says 15, in an integer after
  /// it.
  static std::optional<std::uint64_t> length_of(unsigned low, Bytes &rest) {
    if (low != 0xF)
      return low;
    if (rest.empty() || (std::to_integer<unsigned>(rest.front()) & 0xFCU) != 0x10)
      return std::nullopt;
    const std::size_t width = std::size_t{1} << (std::to_integer<unsigned>(rest.front()) & 3U);
    if (rest.size() < 1 + width)
      return std::nullopt;
    const std::uint64_t length = big_endian(rest.subspan(1, width));
    rest = rest.subspan(1 + width);
    return length;
  }

  bool has_bytes(unsigned low, Bytes rest, std::size_t unit) {
    const std::optional<std::uint64_t> length = length_of(low, rest);
    if (!length || *length > rest.size() / unit)
      return false;
    bytes_ += *length * unit;
    return bytes_ <= most_bytes;
  }

  // NOLINTNEXTLINE(misc-no-recursion)
  bool visit_members(unsigned low, Bytes rest, std::size_t per_entry, int depth) {
    const std::optional<std::uint64_t> length = length_of(low, rest);
    if (!length || *length > rest.size() / (per_entry * reference_width_))
      return false;
    for (std::uint64_t i = 0; i < *length * per_entry; ++i)
      if (!visit(big_endian(rest.subspan(i * reference_width_, reference_width_)), depth + 1))
        return false;
    return true;
  }

  const Bytes list_;
  Bytes objects_;
  Bytes offsets_;
  std::size_t offset_width_ = 0;
  std::size_t reference_width_ = 0;
  std::uint64_t count_ = 0;
  std::size_t visited_ = 0;
  std::size_t bytes_ = 0;
};

} // namespace

bool is_harmless_property_list(std::span<const std::byte> bytes) {
  return Walk(bytes).run();
}

} // namespace veltro::messenger
