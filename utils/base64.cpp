#include "utils/base64.hpp"

#if defined(__x86_64__)
#include "utils/base64_x86.hpp"
#elif defined(__ARM_NEON)
#include "utils/base64_neon.hpp"
#else
#include "utils/base64_rules.hpp"
constexpr auto kernels = [] { return veltro::base64::kNoVectors; };
#endif

namespace veltro::base64 {

void encode(const std::uint8_t *bytes, std::size_t length, char *to) {
  rules::encode(kernels(), bytes, length, to);
}

Decoded decode_dropping(const char *text, std::size_t length, std::uint8_t *to) {
  return rules::decode(kernels(), rules::Dropping{}, text, length, to);
}

Decoded decode_refusing(const char *text, std::size_t length, const std::uint8_t *table,
                        std::uint8_t *to) {
  return rules::decode(kernels(), rules::Refusing{table}, text, length, to);
}

void make_table(std::uint8_t *table) {
  for (unsigned code = 0; code < 256; ++code)
    table[code] = kNoValue;
  for (std::uint8_t value = 0; value < 64; ++value)
    table[static_cast<unsigned char>(rules::kAlphabet[value])] = value;
}

} // namespace veltro::base64
