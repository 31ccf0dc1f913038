// Texts in pieces against the same texts as a whole, through both decoders. The input's first byte
// seeds the pieces' sizes, the others are the text.

#include "tests/tools/base64_in_pieces.hpp"

#include <cstdint>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *input, std::size_t size) {
  using namespace veltro::test;
  if (size == 0)
    return 0;
  const std::string text(reinterpret_cast<const char *>(input + 1), size - 1);
  for (const bool lenient : {false, true}) {
    std::minstd_rand random(*input);
    std::size_t most_held = 0;
    const auto next_size = [&] { return 1 + random() % (1 + *input % 16U); };
    if (decoded_in_pieces(text, lenient, next_size, most_held) != decoded_whole(text, lenient) ||
        most_held > 3)
      __builtin_trap();
  }
  return 0;
}
