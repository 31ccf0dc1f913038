// Base64 kernels for x86-64, and the choice between them by what the processor has.
#pragma once

#include "utils/base64_rules.hpp"

#include <cpuid.h>
#include <immintrin.h>

namespace veltro::base64 {

#pragma clang attribute push(__attribute__((target("ssse3"))), apply_to = function)
struct Ssse3 {
  using Vector = __m128i;
  static Vector repeat(__m128i lane) { return lane; }
  template <char Low, char> static Vector lanes() { return _mm_set1_epi8(Low); }
  static Vector multiply_high(Vector a, Vector b) { return _mm_mulhi_epu16(a, b); }
  static Vector add_products8(Vector a, Vector b) { return _mm_maddubs_epi16(a, b); }
  static Vector add_products16(Vector a, Vector b) { return _mm_madd_epi16(a, b); }
  static Vector shuffle(Vector table, Vector index) { return _mm_shuffle_epi8(table, index); }
  static unsigned mask(Vector a) { return static_cast<unsigned>(_mm_movemask_epi8(a)); }
  static bool is_zero(Vector a) { return mask(_mm_cmpeq_epi8(a, Vector{})) == 0xffff; }
  static Vector load(const void *at) { return _mm_loadu_si128(static_cast<const Vector *>(at)); }
  template <char Low, char> static Vector load_bytes(const std::uint8_t *at) {
    return load(at - Low);
  }
  static void store(void *to, Vector a) { _mm_storeu_si128(static_cast<Vector *>(to), a); }
  template <bool Exact> static void store_bytes(std::uint8_t *to, Vector packed) {
    if constexpr (!Exact)
      return store(to, packed);
    _mm_storeu_si64(to, packed);
    _mm_storeu_si32(to + 8, _mm_bsrli_si128(packed, 8));
  }
  static constexpr Kernels kRest = kNoVectors;
#include "utils/base64_lanes.hpp"
#include "utils/base64_loops.hpp"
};
#pragma clang attribute pop

#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
struct Avx2 {
  using Vector = __m256i;
  static Vector repeat(__m128i lane) { return _mm256_broadcastsi128_si256(lane); }
  template <char Low, char High> static Vector lanes() {
    return _mm256_set_m128i(_mm_set1_epi8(High), _mm_set1_epi8(Low));
  }
  static Vector multiply_high(Vector a, Vector b) { return _mm256_mulhi_epu16(a, b); }
  static Vector add_products8(Vector a, Vector b) { return _mm256_maddubs_epi16(a, b); }
  static Vector add_products16(Vector a, Vector b) { return _mm256_madd_epi16(a, b); }
  static Vector shuffle(Vector table, Vector index) { return _mm256_shuffle_epi8(table, index); }
  static unsigned mask(Vector a) { return static_cast<unsigned>(_mm256_movemask_epi8(a)); }
  static bool is_zero(Vector a) { return _mm256_testz_si256(a, a) != 0; }
  static Vector load(const void *at) { return _mm256_loadu_si256(static_cast<const Vector *>(at)); }
  template <char Low, char High> static Vector load_bytes(const std::uint8_t *at) {
    if constexpr (Low == High + 4) // one lane follows the other
      return load(at - Low);
    return _mm256_set_m128i(Ssse3::load(at + 12 - High), Ssse3::load(at - Low));
  }
  static void store(void *to, Vector a) { _mm256_storeu_si256(static_cast<Vector *>(to), a); }
  template <bool Exact> static void store_bytes(std::uint8_t *to, Vector packed) {
    Ssse3::store(to, _mm256_castsi256_si128(packed));
    Ssse3::store_bytes<Exact>(to + 12, _mm256_extracti128_si256(packed, 1));
  }
  static constexpr Kernels kRest{Ssse3::encode, Ssse3::decode};
#include "utils/base64_lanes.hpp" // NOLINT(readability-duplicate-include)
#include "utils/base64_loops.hpp" // NOLINT(readability-duplicate-include)
};
#pragma clang attribute pop

/// A byte's place among four a group; a character's value, or 0x80 and more where it has none.
struct Tables {
  std::uint8_t pack[64];
  std::uint8_t values[128];
};

consteval Tables make_tables() {
  Tables tables{};
  for (unsigned at = 0; at < 48; ++at)
    tables.pack[at] = rules::low_byte(at / 3 * 4 + 2 - at % 3);
  for (unsigned character = 0; character < 128; ++character)
    tables.values[character] = static_cast<std::uint8_t>(rules::kFirstTable.entries[character]);
  return tables;
}

constexpr Tables kTables = make_tables();

// Lookups have 64 and 128 entries; loads and stores of any length do what is less than a block.
#pragma clang attribute push(__attribute__((target("avx512bw,avx512vbmi,bmi2"))),                  \
                             apply_to = function)
struct Avx512 {
  using Vector = __m512i;
  static constexpr std::ptrdiff_t kText = 64;
  static constexpr std::size_t kBytes = 48;
  static constexpr std::size_t kReads = 64;
  static constexpr bool kOverlaps = false;

  static Vector encoded(Vector in) {
    const Vector groups = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const Vector spread = _mm512_add_epi32(
        _mm512_mullo_epi32(groups, _mm512_set1_epi32(0x03030303)), _mm512_set1_epi32(0x01020001));
    const Vector shifts = _mm512_set1_epi64(0x3036242a1016040a);
    const Vector values = _mm512_multishift_epi64_epi8(shifts, _mm512_permutexvar_epi8(spread, in));
    return _mm512_permutexvar_epi8(values, _mm512_loadu_si512(rules::kAlphabet)); // by 6 bits
  }

  template <char, char> static void encode_block(const std::uint8_t *bytes, char *to) {
    _mm512_storeu_si512(to, encoded(_mm512_loadu_si512(bytes)));
  }

  /// The bytes that the characters `in` stand for, and the mask of those that stand for nothing.
  static Vector decoded(Vector in, std::uint64_t &unclean) {
    const Vector values = _mm512_permutex2var_epi8(_mm512_loadu_si512(kTables.values), in,
                                                   _mm512_loadu_si512(kTables.values + 64));
    unclean = _mm512_movepi8_mask(_mm512_or_si512(in, values));
    const Vector pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const Vector joined = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    return _mm512_permutexvar_epi8(_mm512_loadu_si512(kTables.pack), joined);
  }

  template <bool Exact> static std::uint64_t decode_block(const char *text, std::uint8_t *to) {
    std::uint64_t unclean;
    const Vector bytes = decoded(_mm512_loadu_si512(text), unclean);
    if constexpr (Exact)
      _mm512_mask_storeu_epi8(to, first(kBytes), bytes);
    else
      _mm512_storeu_si512(to, bytes);
    return unclean;
  }

  /// The mask of the first `count` bytes.
  static std::uint64_t first(std::size_t count) { return _bzhi_u64(~std::uint64_t{0}, count); }

  static std::size_t encode_rest(const std::uint8_t *bytes, std::size_t length, char *to) {
    for (std::size_t left = length; left != 0; bytes += kBytes, to += kText) {
      const std::size_t count = left < kBytes ? left : kBytes;
      const std::uint64_t filled = first((count * 4 + 2) / 3);
      const Vector text = encoded(_mm512_maskz_loadu_epi8(first(count), bytes));
      _mm512_mask_storeu_epi8(to, first(encoded_length(count)),
                              _mm512_mask_blend_epi8(filled, _mm512_set1_epi8('='), text));
      left -= count;
    }
    return length;
  }

  static Run decode_rest(const char *text, std::size_t length, std::uint8_t *to, std::uint64_t) {
    const std::uint64_t there = first(length < 64 ? length : 64);
    std::uint64_t unclean;
    const Vector bytes =
        decoded(_mm512_mask_loadu_epi8(_mm512_set1_epi8('='), there, text), unclean);
    const auto clean = static_cast<std::size_t>(unclean == 0 ? 64 : __builtin_ctzll(unclean)) / 4;
    _mm512_mask_storeu_epi8(to, first(clean * 3), bytes);
    return {clean * 4, clean * 3};
  }

  static constexpr Kernels kRest{encode_rest, decode_rest};
#include "utils/base64_loops.hpp" // NOLINT(readability-duplicate-include)
};
#pragma clang attribute pop

constexpr Kernels kSsse3{Ssse3::encode, Ssse3::decode};
constexpr Kernels kAvx2{Avx2::encode, Avx2::decode};
constexpr Kernels kAvx512{Avx512::encode, Avx512::decode};

[[gnu::noinline]] inline const Kernels &best_kernels() {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & bit_SSSE3) == 0)
    return kNoVectors;
  if ((ecx & bit_OSXSAVE) == 0 || __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) == 0)
    return kSsse3;
  // The wide vectors also want the system to save their registers.
  __asm__("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
  constexpr unsigned kWide = bit_AVX512BW | bit_BMI2;
  if ((eax & 0xe6) == 0xe6 && (ebx & kWide) == kWide && (ecx & bit_AVX512VBMI) != 0)
    return kAvx512;
  return (eax & 6) == 6 && (ebx & bit_AVX2) != 0 ? kAvx2 : kSsse3;
}

/// The processor's best. Threads that ask at the same time find the same.
inline const Kernels &kernels() {
  static const Kernels *known;
  const Kernels *now = __atomic_load_n(&known, __ATOMIC_RELAXED);
  if (now == nullptr) {
    now = &best_kernels();
    __atomic_store_n(&known, now, __ATOMIC_RELAXED);
  }
  return *now;
}

} // namespace veltro::base64
