// The two codecs' rules, written down one by one with strings and vectors and no thought of speed:
// what the fast forms are compared with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veltro::test {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::string_view kModelAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                   "abcdefghijklmnopqrstuvwxyz"
                                                   "0123456789+/";

/// Bits one after another, cut into sixes and padded.
inline std::string model_encode(const Bytes &bytes) {
  std::vector<bool> bits;
  for (const std::uint8_t byte : bytes)
    for (int bit = 7; bit >= 0; --bit)
      bits.push_back(((byte >> bit) & 1) != 0);
  while (bits.size() % 6 != 0)
    bits.push_back(false);
  std::string text;
  for (std::size_t at = 0; at < bits.size(); at += 6) {
    std::size_t value = 0;
    for (std::size_t bit = 0; bit < 6; ++bit)
      value = value * 2 + (bits[at + bit] ? 1 : 0);
    text += kModelAlphabet[value];
  }
  while (text.size() % 4 != 0)
    text += '=';
  return text;
}

/// The whole bytes of the values' bits.
inline Bytes whole_bytes(const std::vector<unsigned> &values) {
  Bytes bytes;
  unsigned held = 0;
  unsigned bits = 0;
  for (const unsigned value : values) {
    held = (held << 6 | value) & 0xffff;
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      bytes.push_back(static_cast<std::uint8_t>(held >> bits));
    }
  }
  return bytes;
}

/// The decoder that drops a lone last character.
inline std::optional<Bytes> model_decode_dropping(std::string_view text) {
  std::vector<unsigned> values;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (character == '=') {
      const bool doubled = at + 1 < text.size() && text[at + 1] == '=';
      if (values.size() % 4 == 1 && !doubled)
        return std::nullopt;
      continue;
    }
    if (character == '\t' || character == '\n' || character == '\f' || character == '\r' ||
        character == ' ')
      continue;
    const std::size_t value = kModelAlphabet.find(character);
    if (value == std::string_view::npos)
      return std::nullopt;
    values.push_back(static_cast<unsigned>(value));
  }
  return whole_bytes(values);
}

/// The decoder that refuses a lone last character.
inline std::optional<Bytes> model_decode_refusing(std::string_view text) {
  std::vector<unsigned> values;
  for (const char character : text) {
    if (character == '=' ||
        std::string_view(" \t\n\v\f\r").find(character) != std::string_view::npos)
      continue;
    const std::size_t value = kModelAlphabet.find(character);
    if (value == std::string_view::npos)
      return std::nullopt;
    values.push_back(static_cast<unsigned>(value));
  }
  if (values.size() % 4 == 1)
    return std::nullopt;
  return whole_bytes(values);
}

} // namespace veltro::test
