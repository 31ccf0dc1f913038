#include "utils/base64.hpp"

#include "utils/base64_kernels.hpp"
#include "utils/base64_rules.hpp"

namespace veltro::base64 {
namespace {

struct VectorRuns {
  static std::size_t encode(const std::uint8_t *bytes, std::size_t length, char *to) {
    return encode_run(bytes, length, to);
  }
  static std::size_t decode(const char *text, std::size_t length, std::uint8_t *to,
                            std::size_t capacity) {
    return decode_run(text, length, to, capacity);
  }
};

} // namespace

void encode(const std::uint8_t *bytes, std::size_t length, char *to) {
  rules::encode<VectorRuns>(bytes, length, to);
}

Decoded decode_dropping(const char *text, std::size_t length, std::uint8_t *to) {
  return rules::decode_dropping<VectorRuns>(text, length, to);
}

Decoded decode_refusing(const char *text, std::size_t length, const std::uint8_t *table,
                        std::uint8_t *to) {
  return rules::decode_refusing<VectorRuns>(text, length, table, to);
}

void make_table(std::uint8_t *table) {
  for (unsigned code = 0; code < 256; ++code)
    table[code] = kNoValue;
  for (std::uint8_t value = 0; value < 64; ++value)
    table[static_cast<unsigned char>(rules::kAlphabet[value])] = value;
}

} // namespace veltro::base64
