// Base64 kernels for ARM with NEON, 32-bit and 64-bit alike: the structure loads and stores take
// three bytes or four characters apart, and the alphabet is five ranges.
#pragma once

#include "utils/base64_rules.hpp"

#include <arm_neon.h>

namespace veltro::base64 {

struct Neon {
  using Vector = uint8x16_t;
  static constexpr std::ptrdiff_t kText = 64;
  static constexpr std::size_t kBytes = 48;
  static constexpr std::size_t kReads = kBytes;
  static constexpr bool kOverlaps = true;

  static Vector all(std::uint8_t value) { return vdupq_n_u8(value); }

  static Vector characters_of(Vector values) {
    return values + all('A') + (vcgtq_u8(values, all(25)) & all('a' - 'Z' - 1)) -
           (vcgtq_u8(values, all(51)) & all('z' + 1 - '0')) -
           (vcgtq_u8(values, all(61)) & all('9' + 1 - '+')) +
           (vcgtq_u8(values, all(62)) & all('/' - '+' - 1));
  }

  /// The values of sixteen characters; `unclean` gets the lanes of those that have none.
  static Vector values_of(Vector characters, Vector &unclean) {
    const Vector upper = vcltq_u8(characters - all('A'), all(26));
    const Vector lower = vcltq_u8(characters - all('a'), all(26));
    const Vector digit = vcltq_u8(characters - all('0'), all(10));
    const Vector plus = vceqq_u8(characters, all('+'));
    const Vector slash = vceqq_u8(characters, all('/'));
    unclean |= ~(upper | lower | digit | plus | slash);
    return (upper & (characters - all('A'))) | (lower & (characters - all('a' - 26))) |
           (digit & (characters + all(52 - '0'))) | (plus & all(62)) | (slash & all(63));
  }

  template <char, char> static void encode_block(const std::uint8_t *bytes, char *to) {
    const auto [a, b, c] = vld3q_u8(bytes).val;
    const uint8x16x4_t out{characters_of(a >> 2), characters_of((a << 4 | b >> 4) & all(63)),
                           characters_of((b << 2 | c >> 6) & all(63)), characters_of(c & all(63))};
    vst4q_u8(reinterpret_cast<std::uint8_t *>(to), out);
  }

  template <bool> static std::uint64_t decode_block(const char *text, std::uint8_t *to) {
    const auto [in0, in1, in2, in3] = vld4q_u8(reinterpret_cast<const std::uint8_t *>(text)).val;
    Vector unclean = all(0);
    const Vector a = values_of(in0, unclean);
    const Vector b = values_of(in1, unclean);
    const Vector c = values_of(in2, unclean);
    const Vector d = values_of(in3, unclean);
    const uint8x16x3_t out{a << 2 | b >> 4, b << 4 | c >> 2, c << 6 | d};
    vst3q_u8(to, out);
    // Four bits for each of the sixteen groups.
    const uint8x8_t groups = vshrn_n_u16(vreinterpretq_u16_u8(unclean), 4);
    return vget_lane_u64(vreinterpret_u64_u8(groups), 0);
  }

  static constexpr Kernels kRest = kNoVectors;
#include "utils/base64_loops.hpp"
};

constexpr Kernels kNeon{Neon::encode, Neon::decode};
constexpr const Kernels &kernels() {
  return kNeon;
}

} // namespace veltro::base64
