// The exact rules of Base64's encoder and decoders. `Runs` takes the clean runs between what is
// unusual, as the kernels do; with NoRuns every character goes by the rules, which is the form that
// the kernels are compared with.
#pragma once

#include "utils/base64.hpp"

namespace veltro::base64::rules {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::int16_t kSkip = -1;
constexpr std::int16_t kInvalid = -2;

/// The first codec's table. Vertical tab is invalid in it, on purpose: texts that the other decoder
/// accepts are told apart by it.
struct FirstTable {
  std::int16_t entries[256];
};

consteval FirstTable make_first_table() {
  FirstTable table{};
  for (std::int16_t &entry : table.entries)
    entry = kInvalid;
  for (const char *skipped = "\t\n\f\r "; *skipped != '\0'; ++skipped)
    table.entries[static_cast<unsigned char>(*skipped)] = kSkip;
  for (std::int16_t value = 0; value < 64; ++value)
    table.entries[static_cast<unsigned char>(kAlphabet[value])] = value;
  return table;
}

constexpr FirstTable kFirstTable = make_first_table();

/// isspace() in the C locale.
constexpr bool is_space(unsigned char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

inline void encode_group(const std::uint8_t *group, char *to) {
  to[0] = kAlphabet[group[0] >> 2];
  to[1] = kAlphabet[((group[0] & 3) << 4) | (group[1] >> 4)];
  to[2] = kAlphabet[((group[1] & 15) << 2) | (group[2] >> 6)];
  to[3] = kAlphabet[group[2] & 63];
}

constexpr std::uint8_t low_byte(unsigned value) {
  return static_cast<std::uint8_t>(value);
}

/// Takes nothing.
struct NoRuns {
  static std::size_t encode(const std::uint8_t *, std::size_t, char *) { return 0; }
  static std::size_t decode(const char *, std::size_t, std::uint8_t *, std::size_t) { return 0; }
};

template <typename Runs> void encode(const std::uint8_t *bytes, std::size_t length, char *to) {
  std::size_t at = Runs::encode(bytes, length, to);
  to += at / 3 * 4;
  for (; length - at >= 3; at += 3, to += 4)
    encode_group(bytes + at, to);
  if (const std::size_t rest = length - at; rest != 0) {
    const std::uint8_t group[3] = {bytes[at], rest == 2 ? bytes[at + 1] : std::uint8_t{0}, 0};
    encode_group(group, to);
    to[3] = '=';
    if (rest == 1)
      to[2] = '=';
  }
}

template <typename Runs>
Decoded decode_dropping(const char *text, std::size_t length, std::uint8_t *to) {
  std::size_t written = 0;
  unsigned group = 0; // the accepted characters of the current group, 6 bits each
  unsigned count = 0; // how many they are, 0 to 3
  bool clean = true;  // whether a clean run may start here
  for (std::size_t at = 0; at < length; ++at) {
    // A run of what is skipped is walked over first: a look at the vectors costs more than it.
    if (clean && count == 0 && kFirstTable.entries[static_cast<unsigned char>(text[at])] >= 0) {
      const std::size_t taken =
          Runs::decode(text + at, length - at, to + written, length - written);
      written += taken / 4 * 3;
      at += taken;
      clean = false;
      if (at == length)
        break;
    }
    const auto character = static_cast<unsigned char>(text[at]);
    if (character == '=') {
      if (count == 1 && text[at + 1] != '=')
        return {false, 0};
      clean = true;
      continue;
    }
    const std::int16_t value = kFirstTable.entries[character];
    if (value == kInvalid)
      return {false, 0};
    if (value == kSkip) {
      clean = true;
      continue;
    }
    group = group << 6 | static_cast<unsigned>(value);
    // Each character after a group's first completes one byte, so that a group that the text's end
    // cuts short gives what it completed, and a lone first character nothing.
    switch (count) {
    case 0:
      break;
    case 1:
      to[written++] = low_byte(group >> 4);
      break;
    case 2:
      to[written++] = low_byte(group >> 2);
      break;
    default:
      to[written++] = low_byte(group);
      break;
    }
    count = (count + 1) % 4;
  }
  return {true, written};
}

template <typename Runs>
Decoded decode_refusing(const char *text, std::size_t length, const std::uint8_t *table,
                        std::uint8_t *to) {
  const std::size_t capacity = decoded_capacity(length);
  std::size_t written = 0;
  std::size_t at = 0;
  bool clean = true;
  for (;;) {
    if (clean) {
      const std::size_t taken =
          Runs::decode(text + at, length - at, to + written, capacity - written);
      written += taken / 4 * 3;
      at += taken;
      clean = false;
    }
    unsigned group = 0;
    unsigned count = 0;
    while (count < 4 && at < length) {
      const auto character = static_cast<unsigned char>(text[at++]);
      if (character == '=' || is_space(character)) {
        clean = true;
        // Back to the vectors, but not for each of several that are skipped.
        if (count == 0 && at < length && table[static_cast<unsigned char>(text[at])] != kNoValue)
          break;
        continue;
      }
      const std::uint8_t value = table[character];
      if (value == kNoValue)
        return {false, 0};
      group = group << 6 | value;
      ++count;
    }
    if (count == 0) {
      if (at == length)
        return {true, written};
      continue;
    }
    if (count == 1)
      return {false, 0};
    group <<= 6 * (4 - count);
    to[written++] = low_byte(group >> 16);
    if (count > 2)
      to[written++] = low_byte(group >> 8);
    if (count > 3)
      to[written++] = low_byte(group);
  }
}

} // namespace veltro::base64::rules
