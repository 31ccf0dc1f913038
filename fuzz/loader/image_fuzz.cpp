// The loader's reader on damaged images: an input is an image by itself, or says which one of the
// device build's is cut off and overwritten where. Reading it ends in what can be loaded or in a
// reason.

#include "platform/loader/contents.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

using veltro::loader::Processor;

namespace {

struct Original {
  std::vector<uint8_t> bytes;
  Processor processor;
};

Original original(const char *path, Processor processor) {
  std::ifstream file(std::string(VELTRO_IOS_DIR "/") + path, std::ios::binary);
  Original read{{std::istreambuf_iterator(file), {}}, processor};
  if (read.bytes.empty()) {
    std::fprintf(stderr, "no image at " VELTRO_IOS_DIR "/%s: scripts/ios makes it\n", path);
    std::exit(1);
  }
  return read;
}

const std::vector<Original> &originals() {
  static const auto *const all =
      new std::vector<Original>{original("x86_64/libveltro.dylib", Processor::x86_64),
                                original("arm64/libveltro.dylib", Processor::arm64),
                                original("armv7/libveltro.dylib", Processor::armv7),
                                original("libveltro.dylib", Processor::arm64)};
  return *all;
}

bool is_image(std::span<const uint8_t> input) {
  return input.size() >= 4 && ((input[0] & 0xfe) == 0xce || (input[0] == 0xca && input[1] == 0xfe));
}

/// The input's next number of `size` bytes; 0 when it has no more.
uint32_t take(std::span<const uint8_t> &input, size_t size) {
  uint32_t value = 0;
  for (; size > 0 && !input.empty(); --size, input = input.subspan(1))
    value = value << 8 | input.front();
  return value;
}

std::vector<uint8_t> damaged(const Original &of, std::span<const uint8_t> input) {
  const uint32_t cut = take(input, 3);
  std::vector<uint8_t> bytes = of.bytes;
  bytes.resize(bytes.size() - cut % bytes.size());
  while (input.size() > 3) {
    const size_t place = take(input, 3) % bytes.size();
    const size_t count = 1 + take(input, 1) % 8;
    for (size_t i = 0; i < count && place + i < bytes.size(); ++i)
      bytes[place + i] = uint8_t(take(input, 1));
  }
  return bytes;
}

void read(const std::vector<uint8_t> &bytes, Processor processor) {
  try {
    (void)veltro::loader::read_contents({bytes, "the file"}, processor);
  } catch (const veltro::loader::Unloadable &reason) {
    if (std::string_view(reason.what()).empty())
      __builtin_trap();
  }
}

} // namespace

// The runtime's own leaks are none of the reader's, and telling them apart takes most of the time.
extern "C" const char *__asan_default_options() {
  return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::span<const uint8_t> input(data, size);
  if (is_image(input)) {
    read({input.begin(), input.end()}, Processor::x86_64);
    read({input.begin(), input.end()}, Processor::armv7);
  } else {
    const Original &of = originals()[take(input, 1) % originals().size()];
    read(damaged(of, input), of.processor);
  }
  return 0;
}
