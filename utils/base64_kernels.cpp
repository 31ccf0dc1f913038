#include "utils/base64_kernels.hpp"

#if defined(__x86_64__)
#include "utils/base64_x86.hpp"
#elif defined(__ARM_NEON)
#include "utils/base64_neon.hpp"
#endif

namespace veltro::base64 {

#if defined(__x86_64__)

std::size_t encode_run(const std::uint8_t *bytes, std::size_t length, char *to) {
  const x86::Vectors vectors = x86::vectors();
  return vectors == x86::Vectors::avx2    ? x86::encode_avx2(bytes, length, to)
         : vectors == x86::Vectors::ssse3 ? x86::encode_ssse3(bytes, length, to)
                                          : 0;
}

std::size_t decode_run(const char *text, std::size_t length, std::uint8_t *to,
                       std::size_t capacity) {
  const x86::Vectors vectors = x86::vectors();
  return vectors == x86::Vectors::avx2    ? x86::decode_avx2(text, length, to, capacity)
         : vectors == x86::Vectors::ssse3 ? x86::decode_ssse3(text, length, to, capacity)
                                          : 0;
}

#elif defined(__ARM_NEON)

std::size_t encode_run(const std::uint8_t *bytes, std::size_t length, char *to) {
  return neon::encode(bytes, length, to);
}

std::size_t decode_run(const char *text, std::size_t length, std::uint8_t *to,
                       std::size_t capacity) {
  return neon::decode(text, length, to, capacity);
}

#else

std::size_t encode_run(const std::uint8_t *, std::size_t, char *) {
  return 0;
}

std::size_t decode_run(const char *, std::size_t, std::uint8_t *, std::size_t) {
  return 0;
}

#endif

} // namespace veltro::base64
