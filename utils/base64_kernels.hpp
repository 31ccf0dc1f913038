// The vector kernels of Base64, and the loop that stands for them where the processor has none. A
// kernel does the clean run at the front of its input and says how far it came; all that is unusual
// is left to the exact rules of the codec.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veltro::base64 {

/// Encodes whole groups of three bytes from the front of `bytes`, as many as suit the vectors, and
/// answers how many bytes it took, a multiple of three. `to` takes four characters a group.
std::size_t encode_run(const std::uint8_t *bytes, std::size_t length, char *to);

/// Decodes whole groups of four characters of the alphabet from the front of `text` and answers how
/// many characters it took, a multiple of four; it stops before the first block that holds any
/// other character. `to` takes three bytes a group; no byte beyond `capacity` is touched.
std::size_t decode_run(const char *text, std::size_t length, std::uint8_t *to,
                       std::size_t capacity);

} // namespace veltro::base64
