// Every form of the codecs against the model, on inputs that libFuzzer thinks of.

#include "tests/utils/base64_against_model.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *input, std::size_t size) {
  if (!veltro::test::agrees_with_model(input, size))
    __builtin_trap();
  return 0;
}
