// Base64 with the standard alphabet of RFC 4648: encoding, and two decoders that differ in what
// they skip and what they refuse. Plain functions over given buffers; nothing is allocated.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veltro::base64 {

/// How many characters the encoding of `length` bytes has, padding included.
constexpr std::size_t encoded_length(std::size_t length) {
  return 4 * ((length + 2) / 3);
}

/// How many bytes the decoding of `length` characters can have at most, as the second decoder's
/// buffer is sized.
constexpr std::size_t decoded_capacity(std::size_t length) {
  return ((length + 3) / 4) * 3;
}

/// Writes the encoding of `length` bytes to `to`, which holds encoded_length(length) characters. No
/// line breaks and no terminator.
void encode(const std::uint8_t *bytes, std::size_t length, char *to);

/// What a decoder made of its text.
struct Decoded {
  bool valid;
  std::size_t length; // bytes written; 0 where the text is invalid
};

/// The first codec's decoder. Skips tab, line feed, form feed, carriage return and space; skips "="
/// but where it follows the first character of a group and no other "=" follows it; drops a lone
/// last character. `text` is `length` characters followed by a zero; `to` holds `length` bytes.
Decoded decode_dropping(const char *text, std::size_t length, std::uint8_t *to);

/// The second codec's decoder, by a table of 256 bytes as make_table() fills it. Skips all that
/// isspace() is true for, and "=" anywhere; refuses a lone last character. `to` holds
/// decoded_capacity(length) bytes.
Decoded decode_refusing(const char *text, std::size_t length, const std::uint8_t *table,
                        std::uint8_t *to);

/// The mark of a character that stands for no value in the second codec's table.
constexpr std::uint8_t kNoValue = 127;

/// Fills the second codec's table: 256 bytes, by character code.
void make_table(std::uint8_t *table);

} // namespace veltro::base64
