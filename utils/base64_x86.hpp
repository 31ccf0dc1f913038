// Base64 kernels for x86-64, chosen when they are first needed by what the processor has.
//
// Encoding spreads each three bytes over four lanes with one shuffle and two multiplications, and
// turns the 6-bit values into characters by adding an offset looked up by range. Decoding tests all
// characters with two lookups by nibble, whose results have a bit in common exactly where a
// character is none of the alphabet's, and joins four values with two multiply-adds.
#pragma once

#include <cpuid.h>
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace veltro::base64::x86 {

enum class Vectors : int { unknown, none, ssse3, avx2 };

inline Vectors detect_vectors() {
  unsigned eax = 0;
  unsigned ebx = 0;
  unsigned ecx = 0;
  unsigned edx = 0;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & bit_SSSE3) == 0)
    return Vectors::none;
  // AVX2 also wants the system to save the wide registers.
  if ((ecx & bit_OSXSAVE) == 0)
    return Vectors::ssse3;
  unsigned saved = 0;
  unsigned high = 0;
  __asm__("xgetbv" : "=a"(saved), "=d"(high) : "c"(0));
  if ((saved & 6) != 6 || __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) == 0)
    return Vectors::ssse3;
  return (ebx & bit_AVX2) != 0 ? Vectors::avx2 : Vectors::ssse3;
}

/// The processor's vectors. Asked once: threads that ask at the same time find the same answer.
inline Vectors vectors() {
  static int known = 0;
  int now = __atomic_load_n(&known, __ATOMIC_RELAXED);
  if (now == 0) {
    now = static_cast<int>(detect_vectors());
    __atomic_store_n(&known, now, __ATOMIC_RELAXED);
  }
  return static_cast<Vectors>(now);
}

/// From this many bytes on what is encoded is written past the caches.
constexpr std::size_t kPastCaches = std::size_t{8} << 20;

#define VELTRO_SSSE3 __attribute__((target("ssse3")))
#define VELTRO_AVX2 __attribute__((target("avx2")))

VELTRO_SSSE3 inline std::size_t encode_ssse3(const std::uint8_t *bytes, std::size_t length,
                                             char *to) {
  const __m128i spread = _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
  const __m128i offsets =
      _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                    '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
  std::size_t at = 0;
  // A load takes 16 bytes, of which 12 are used.
  for (; length - at >= 16; at += 12, to += 16) {
    const __m128i in =
        _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + at)), spread);
    const __m128i high =
        _mm_mulhi_epu16(_mm_and_si128(in, _mm_set1_epi32(0x0fc0fc00)), _mm_set1_epi32(0x04000040));
    const __m128i low =
        _mm_mullo_epi16(_mm_and_si128(in, _mm_set1_epi32(0x003f03f0)), _mm_set1_epi32(0x01000010));
    const __m128i values = _mm_or_si128(high, low);
    __m128i range = _mm_subs_epu8(values, _mm_set1_epi8(51));
    range = _mm_or_si128(
        range, _mm_and_si128(_mm_cmpgt_epi8(_mm_set1_epi8(26), values), _mm_set1_epi8(13)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to),
                     _mm_add_epi8(values, _mm_shuffle_epi8(offsets, range)));
  }
  return at;
}

VELTRO_AVX2 inline std::size_t encode_avx2(const std::uint8_t *bytes, std::size_t length,
                                           char *to) {
  const __m256i spread = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, 1, 0,
                                          2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
  const __m256i offsets = _mm256_broadcastsi128_si256(
      _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                    '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0));
  std::size_t at = 0;
  // Much more than the caches hold goes past them, to places that the vectors fit.
  const bool past_caches = length >= kPastCaches && reinterpret_cast<std::uintptr_t>(to) % 16 == 0;
  if (past_caches && reinterpret_cast<std::uintptr_t>(to) % 32 != 0) {
    at = encode_ssse3(bytes, 16, to);
    to += 16;
  }
  // Two loads of 16 bytes, of which 12 each are used.
  for (; length - at >= 28; at += 24, to += 32) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + at));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + at + 12));
    const __m256i in = _mm256_shuffle_epi8(_mm256_set_m128i(second, first), spread);
    const __m256i high = _mm256_mulhi_epu16(_mm256_and_si256(in, _mm256_set1_epi32(0x0fc0fc00)),
                                            _mm256_set1_epi32(0x04000040));
    const __m256i low = _mm256_mullo_epi16(_mm256_and_si256(in, _mm256_set1_epi32(0x003f03f0)),
                                           _mm256_set1_epi32(0x01000010));
    const __m256i values = _mm256_or_si256(high, low);
    __m256i range = _mm256_subs_epu8(values, _mm256_set1_epi8(51));
    range = _mm256_or_si256(range, _mm256_and_si256(_mm256_cmpgt_epi8(_mm256_set1_epi8(26), values),
                                                    _mm256_set1_epi8(13)));
    const __m256i characters = _mm256_add_epi8(values, _mm256_shuffle_epi8(offsets, range));
    if (past_caches)
      _mm256_stream_si256(reinterpret_cast<__m256i *>(to), characters);
    else
      _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), characters);
  }
  if (past_caches)
    _mm_sfence();
  return at + encode_ssse3(bytes + at, length - at, to);
}

VELTRO_SSSE3 inline std::size_t decode_ssse3(const char *text, std::size_t length, std::uint8_t *to,
                                             std::size_t capacity) {
  const __m128i low_marks = _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                          0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a);
  const __m128i high_marks = _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10,
                                           0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  const __m128i offsets = _mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m128i pack = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  std::size_t at = 0;
  // A store touches 16 bytes, of which 12 count.
  for (std::size_t written = 0; length - at >= 16 && capacity - written >= 16; written += 12) {
    const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + at));
    const __m128i slash = _mm_set1_epi8('/');
    const __m128i high = _mm_and_si128(_mm_srli_epi32(in, 4), slash);
    const __m128i marks = _mm_and_si128(_mm_shuffle_epi8(low_marks, _mm_and_si128(in, slash)),
                                        _mm_shuffle_epi8(high_marks, high));
    const auto clean =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(marks, _mm_setzero_si128())));
    const __m128i values =
        _mm_add_epi8(in, _mm_shuffle_epi8(offsets, _mm_add_epi8(_mm_cmpeq_epi8(in, slash), high)));
    const __m128i joined = _mm_madd_epi16(_mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140)),
                                          _mm_set1_epi32(0x00011000));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + written), _mm_shuffle_epi8(joined, pack));
    if (clean != 0xffff)
      return at + (static_cast<std::size_t>(__builtin_ctz(~clean)) & ~std::size_t{3});
    at += 16;
  }
  return at;
}

VELTRO_AVX2 inline std::size_t decode_avx2(const char *text, std::size_t length, std::uint8_t *to,
                                           std::size_t capacity) {
  const __m256i low_marks =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                                0x11, 0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a));
  const __m256i high_marks =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                                0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10));
  const __m256i offsets = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0));
  const __m256i pack = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  std::size_t at = 0;
  std::size_t written = 0;
  // A store touches 32 bytes, of which 24 count.
  for (; length - at >= 32 && capacity - written >= 32; written += 24) {
    const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(text + at));
    const __m256i slash = _mm256_set1_epi8('/');
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(in, 4), slash);
    const __m256i marks =
        _mm256_and_si256(_mm256_shuffle_epi8(low_marks, _mm256_and_si256(in, slash)),
                         _mm256_shuffle_epi8(high_marks, high));
    const auto clean = static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(marks, _mm256_setzero_si256())));
    const __m256i values = _mm256_add_epi8(
        in, _mm256_shuffle_epi8(offsets, _mm256_add_epi8(_mm256_cmpeq_epi8(in, slash), high)));
    const __m256i joined = _mm256_madd_epi16(
        _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140)), _mm256_set1_epi32(0x00011000));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(to + written),
                        _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(joined, pack),
                                                    _mm256_setr_epi32(0, 1, 2, 4, 5, 6, -1, -1)));
    if (clean != 0xffffffff)
      return at + (static_cast<std::size_t>(__builtin_ctz(~clean)) & ~std::size_t{3});
    at += 32;
  }
  return at + decode_ssse3(text + at, length - at, to + written, capacity - written);
}

#undef VELTRO_SSSE3
#undef VELTRO_AVX2

} // namespace veltro::base64::x86
