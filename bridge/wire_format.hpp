// The length fields of a request and its reply: 8 bytes, least significant first, on every build.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>

namespace veltro {

using LengthField = std::array<std::uint8_t, 8>;

/// The field for `length`; what a narrower word cannot hold is zero.
template <std::unsigned_integral Word> constexpr LengthField encode_length(Word length) {
  LengthField field{};
  for (std::size_t i = 0; i < sizeof(Word); ++i)
    field[i] = static_cast<std::uint8_t>(length >> (8 * i));
  return field;
}

/// The length that `field` announces to a build of this word size. On purpose a 32-bit build takes
/// the low four bytes and ignores the others, rather than refusing a reply that it cannot hold:
/// that is how its servers have always been read.
template <std::unsigned_integral Word> constexpr Word decode_length(const LengthField &field) {
  Word length = 0;
  for (std::size_t i = 0; i < sizeof(Word); ++i)
    length |= static_cast<Word>(field[i]) << (8 * i);
  return length;
}

} // namespace veltro
