// Constant strings of Darwin are a class, flags, characters and their number, a word each; those of
// GNUstep a class, bytes in UTF-8 and their number, in 32 bits.

#include "constant_strings.hpp"

#include "lasting.hpp"

extern "C" {
#include <objc/runtime.h>
}

namespace veltro::loader::objc {
namespace {

constexpr uint32_t kHighFirst = 0xd800, kLowFirst = 0xdc00, kLast = 0xdfff;

void put_utf8(std::string &to, uint32_t character) {
  if (character < 0x80) {
    to += char(character);
    return;
  }
  const unsigned more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  constexpr uint32_t kFirst[]{0, 0xc0, 0xe0, 0xf0};
  to += char(kFirst[more] | character >> (6 * more));
  for (unsigned i = more; i-- > 0;)
    to += char(0x80 | (character >> (6 * i) & 0x3f));
}

} // namespace

std::string utf8_of(Bytes units, uint64_t length) {
  std::string text;
  for (uint64_t i = 0; i < length; ++i) {
    uint32_t unit = units.get<uint16_t>(2 * i);
    if (unit >= kHighFirst && unit <= kLast) {
      const uint32_t low = i + 1 < length ? units.get<uint16_t>(2 * ++i) : 0;
      if (unit >= kLowFirst || low < kLowFirst || low > kLast)
        throw Unloadable("has a constant string with half a pair of UTF-16");
      unit = 0x10000 + ((unit - kHighFirst) << 10) + (low - kLowFirst);
    }
    put_utf8(text, unit);
  }
  return text;
}

void check_constant_strings(const Metadata &metadata, const Image &image) {
  for (const ConstantString &string : metadata.strings)
    if (string.utf16)
      (void)utf8_of(image.at(string.characters, 2 * string.length, "constant strings"),
                    string.length);
}

void register_constant_strings(const std::vector<ConstantString> &strings, const Memory &memory) {
  const auto word = unsigned(sizeof(void *));
  const void *const of = objc_getClass("NSConstantString");
  for (const ConstantString &string : strings) {
    const uint8_t *const characters = memory.at(string.characters);
    const char *bytes = reinterpret_cast<const char *>(characters);
    uint64_t length = string.length;
    if (string.utf16) {
      const std::string text =
          utf8_of({{characters, size_t(2 * length)}, "constant strings"}, length);
      bytes = lasting(text);
      length = text.size();
    }
    memory.put_pointer(string.address, of);
    memory.put_pointer(string.address + word, bytes);
    memory.put(string.address + uint64_t(2) * word, uint32_t(length));
  }
}

} // namespace veltro::loader::objc
