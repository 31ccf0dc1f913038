// Base64 kernels for ARM with NEON, 32-bit and 64-bit alike: the structure loads and stores take
// three bytes or four characters apart, and the alphabet is five ranges.
#pragma once

#include <arm_neon.h>
#include <cstddef>
#include <cstdint>

namespace veltro::base64::neon {

/// The characters of sixteen 6-bit values.
inline uint8x16_t characters_of(uint8x16_t values) {
  const auto past = [values](std::uint8_t last, std::uint8_t step) {
    return vandq_u8(vcgtq_u8(values, vdupq_n_u8(last)), vdupq_n_u8(step));
  };
  uint8x16_t characters = vaddq_u8(values, vdupq_n_u8('A'));
  characters = vaddq_u8(characters, past(25, 'a' - 'Z' - 1));
  characters = vsubq_u8(characters, past(51, 'z' + 1 - '0'));
  characters = vsubq_u8(characters, past(61, '9' + 1 - '+'));
  return vaddq_u8(characters, past(62, '/' - '+' - 1));
}

/// The 6-bit values of sixteen characters; `clean` loses the lanes of those that have none.
inline uint8x16_t values_of(uint8x16_t characters, uint8x16_t &clean) {
  const auto from = [characters](std::uint8_t first) {
    return vsubq_u8(characters, vdupq_n_u8(first));
  };
  const uint8x16_t upper = vcltq_u8(from('A'), vdupq_n_u8(26));
  const uint8x16_t lower = vcltq_u8(from('a'), vdupq_n_u8(26));
  const uint8x16_t digit = vcltq_u8(from('0'), vdupq_n_u8(10));
  const uint8x16_t plus = vceqq_u8(characters, vdupq_n_u8('+'));
  const uint8x16_t slash = vceqq_u8(characters, vdupq_n_u8('/'));
  clean = vandq_u8(clean, vorrq_u8(vorrq_u8(vorrq_u8(upper, lower), digit), vorrq_u8(plus, slash)));
  uint8x16_t values = vandq_u8(upper, from('A'));
  values = vbslq_u8(lower, from('a' - 26), values);
  values = vbslq_u8(digit, vaddq_u8(characters, vdupq_n_u8(52 - '0')), values);
  values = vbslq_u8(plus, vdupq_n_u8(62), values);
  return vbslq_u8(slash, vdupq_n_u8(63), values);
}

inline std::size_t encode(const std::uint8_t *bytes, std::size_t length, char *to) {
  const uint8x16_t six_bits = vdupq_n_u8(63);
  std::size_t at = 0;
  for (; length - at >= 48; at += 48, to += 64) {
    const uint8x16x3_t in = vld3q_u8(bytes + at);
    uint8x16x4_t out;
    out.val[0] = characters_of(vshrq_n_u8(in.val[0], 2));
    out.val[1] = characters_of(
        vandq_u8(vorrq_u8(vshlq_n_u8(in.val[0], 4), vshrq_n_u8(in.val[1], 4)), six_bits));
    out.val[2] = characters_of(
        vandq_u8(vorrq_u8(vshlq_n_u8(in.val[1], 2), vshrq_n_u8(in.val[2], 6)), six_bits));
    out.val[3] = characters_of(vandq_u8(in.val[2], six_bits));
    vst4q_u8(reinterpret_cast<std::uint8_t *>(to), out);
  }
  return at;
}

inline std::size_t decode(const char *text, std::size_t length, std::uint8_t *to,
                          std::size_t capacity) {
  std::size_t at = 0;
  for (; length - at >= 64 && capacity >= 48; at += 64, to += 48, capacity -= 48) {
    const uint8x16x4_t in = vld4q_u8(reinterpret_cast<const std::uint8_t *>(text + at));
    uint8x16_t clean = vdupq_n_u8(0xff);
    const uint8x16_t first = values_of(in.val[0], clean);
    const uint8x16_t second = values_of(in.val[1], clean);
    const uint8x16_t third = values_of(in.val[2], clean);
    const uint8x16_t fourth = values_of(in.val[3], clean);
    const uint64x2_t lanes = vreinterpretq_u64_u8(clean);
    if ((vgetq_lane_u64(lanes, 0) & vgetq_lane_u64(lanes, 1)) != ~std::uint64_t{0})
      break;
    uint8x16x3_t out;
    out.val[0] = vorrq_u8(vshlq_n_u8(first, 2), vshrq_n_u8(second, 4));
    out.val[1] = vorrq_u8(vshlq_n_u8(second, 4), vshrq_n_u8(third, 2));
    out.val[2] = vorrq_u8(vshlq_n_u8(third, 6), fourth);
    vst3q_u8(to, out);
  }
  return at;
}

} // namespace veltro::base64::neon
