// Follows "B-tree Pages" and "Record Format" of SQLite's documentation. A row is its length, its
// number, the length of its header and one type a column, which also tell the lengths of the
// values.

#include "frameworks/Security/row_cells.hpp"

#include "frameworks/Security/attributes.hpp"

#include <array>
#include <cstdint>

namespace veltro::host::keychain {
namespace {

/// The attributes, the number, which is stored elsewhere, the checksum and the secret.
constexpr std::size_t columns = attributes.size() + 3;
constexpr std::uint64_t longest_row = std::uint64_t{1} << 31;

class Reader {
public:
  Reader(std::span<const unsigned char> bytes, std::size_t at) : bytes_(bytes), at_(at) {}

  /// The next number; one that no row has behind the end.
  std::uint64_t number() {
    std::uint64_t value = 0;
    for (int byte = 1; at_ < bytes_.size(); ++byte) {
      const unsigned char next = bytes_[at_++];
      if (byte == 9)
        return value << 8 | next;
      value = value << 7 | (next & 0x7F);
      if (next < 0x80)
        return value;
    }
    return longest_row;
  }

  [[nodiscard]] std::size_t at() const { return at_; }

private:
  std::span<const unsigned char> bytes_;
  std::size_t at_;
};

std::uint64_t length_of(std::uint64_t type) {
  constexpr std::array<std::uint64_t, 12> lengths{0, 1, 2, 3, 4, 6, 8, 8, 0, 0, 0, 0};
  return type < lengths.size() ? lengths[type] : (type - lengths.size()) / 2;
}

bool is_row(std::span<const unsigned char> page, std::size_t at) {
  Reader reader(page, at);
  const std::uint64_t length = reader.number();
  reader.number();
  const std::size_t header = reader.at();
  const std::uint64_t header_length = reader.number();
  if (length >= longest_row || header_length >= page.size() || reader.number() != 0)
    return false;
  std::uint64_t values = 0;
  for (std::size_t column = 1; column < columns && values < longest_row; ++column)
    values += length_of(reader.number());
  return reader.at() - header == header_length && header_length + values == length;
}

} // namespace

std::vector<std::size_t> find_row_cells(std::span<const unsigned char> page) {
  std::vector<std::size_t> found;
  for (std::size_t at = 0; at < page.size(); ++at)
    if (is_row(page, at))
      found.push_back(at);
  return found;
}

} // namespace veltro::host::keychain
