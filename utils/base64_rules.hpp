// The exact rules of Base64's encoder and decoders, around kernels that take what is clean.
#pragma once

#include "utils/base64.hpp"

namespace veltro::base64 {

/// How far a kernel came in a text: characters read, to the end of a group, and bytes written.
struct Run {
  std::size_t read;
  std::size_t written;
};

/// What one kind of vectors does: the clean part at the front of the input, by whole groups.
struct Kernels {
  /// Returns how many bytes it took: a multiple of three, or all, which are padded then.
  std::size_t (*encode)(const std::uint8_t *bytes, std::size_t length, char *to);

  /// Skips characters of the set `skipped` between groups. `to` has three bytes for each four of
  /// the `length` characters; those past the bytes written may be touched too.
  Run (*decode)(const char *text, std::size_t length, std::uint8_t *to, std::uint64_t skipped);
};

/// Takes nothing: the rules by themselves, which the other kernels are compared with.
constexpr Kernels kNoVectors{
    [](const std::uint8_t *, std::size_t, char *) -> std::size_t { return 0; },
    [](const char *, std::size_t, std::uint8_t *, std::uint64_t) -> Run { return {0, 0}; }};

/// A set of characters up to the space, by a bit for each.
constexpr std::uint64_t set_of(const char *characters) {
  std::uint64_t set = 0;
  for (; *characters != '\0'; ++characters)
    set |= std::uint64_t{1} << *characters;
  return set;
}

constexpr bool has(std::uint64_t set, char character) {
  return static_cast<unsigned char>(character) <= ' ' && (set >> character & 1) != 0;
}

namespace rules {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::int16_t kSkip = -1;
constexpr std::int16_t kInvalid = -2;

/// What the codecs skip besides "=". Vertical tab is invalid in the first, on purpose: texts that
/// the other decoder accepts are told apart by it.
constexpr std::uint64_t kSkippedByFirst = set_of("\t\n\f\r ");
constexpr std::uint64_t kSkippedBySecond = set_of("\t\n\v\f\r ");

struct FirstTable {
  std::int16_t entries[256];
};

consteval FirstTable make_first_table() {
  FirstTable table{};
  for (int code = 0; code < 256; ++code)
    table.entries[code] = has(kSkippedByFirst, static_cast<char>(code)) ? kSkip : kInvalid;
  for (std::int16_t value = 0; value < 64; ++value)
    table.entries[static_cast<unsigned char>(kAlphabet[value])] = value;
  return table;
}

constexpr FirstTable kFirstTable = make_first_table();

constexpr std::uint8_t low_byte(unsigned value) {
  return static_cast<std::uint8_t>(value);
}

inline void encode(const Kernels &kernels, const std::uint8_t *bytes, std::size_t length,
                   char *to) {
  std::size_t at = kernels.encode(bytes, length, to);
  if (at == length)
    return;
  for (to += at / 3 * 4; at < length; at += 3, to += 4) {
    const std::size_t left = length - at;
    const unsigned first = bytes[at];
    const unsigned second = left > 1 ? bytes[at + 1] : 0;
    const unsigned third = left > 2 ? bytes[at + 2] : 0;
    to[0] = kAlphabet[first >> 2];
    to[1] = kAlphabet[(first & 3) << 4 | second >> 4];
    to[2] = left > 1 ? kAlphabet[(second & 15) << 2 | third >> 6] : '=';
    to[3] = left > 2 ? kAlphabet[third & 63] : '=';
  }
}

/// The first codec's ways; the second's.
struct Dropping {
  static constexpr std::uint64_t kSkipped = kSkippedByFirst;
  static bool refuses_padding(unsigned count, char next) { return count == 1 && next != '='; }
  static bool refuses_lone() { return false; }
  static int value(char character) {
    return kFirstTable.entries[static_cast<unsigned char>(character)];
  }
};

struct Refusing {
  static constexpr std::uint64_t kSkipped = kSkippedBySecond;
  const std::uint8_t *table;
  static bool refuses_padding(unsigned, char) { return false; }
  static bool refuses_lone() { return true; }
  int value(char character) const {
    const std::uint8_t value = table[static_cast<unsigned char>(character)];
    return has(kSkipped, character) ? kSkip : value == kNoValue ? kInvalid : value;
  }
};

template <typename Codec>
Decoded decode(const Kernels &kernels, const Codec &codec, const char *text, std::size_t length,
               std::uint8_t *to) {
  std::size_t written = 0;
  unsigned group = 0; // the values of the current group, 6 bits each
  unsigned count = 0; // how many they are, 0 to 3
  for (std::size_t at = 0; at < length; ++at) {
    if (count == 0) {
      const Run run = kernels.decode(text + at, length - at, to + written, Codec::kSkipped);
      written += run.written;
      at += run.read;
      if (at == length)
        break;
    }
    if (text[at] == '=') {
      if (codec.refuses_padding(count, text[at + 1]))
        return {false, 0};
      continue;
    }
    const int value = codec.value(text[at]);
    if (value == kInvalid)
      return {false, 0};
    if (value == kSkip)
      continue;
    // Each character after a group's first completes one byte, so that a group that the text's end
    // cuts short gives what it completed, and a lone first character nothing.
    group = group << 6 | static_cast<unsigned>(value);
    if (count != 0)
      to[written++] = low_byte(group >> (6 - 2 * count));
    count = (count + 1) % 4;
  }
  return count == 1 && codec.refuses_lone() ? Decoded{false, 0} : Decoded{true, written};
}

} // namespace rules
} // namespace veltro::base64
