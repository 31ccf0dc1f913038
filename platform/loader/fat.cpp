// Fat files: images for several processors, one behind the other. All numbers are big-endian.

#include "header.hpp"

#include <bit>

namespace veltro::loader {
namespace {

constexpr uint32_t kFat = 0xcafebabe, kFat64 = 0xcafebabf;

uint32_t big(Bytes bytes, uint64_t offset) {
  return __builtin_bswap32(bytes.get<uint32_t>(offset));
}

uint64_t big64(Bytes bytes, uint64_t offset) {
  return __builtin_bswap64(bytes.get<uint64_t>(offset));
}

} // namespace

static_assert(std::endian::native == std::endian::little);

Bytes slice_for(Bytes file, Processor processor) {
  const uint32_t magic = big(file, 0);
  if (magic != kFat && magic != kFat64)
    return file;
  const uint64_t entry_size = magic == kFat ? 20 : 32;
  const uint32_t count = big(file, 4);
  const Bytes entries = file.part(8, count * entry_size, "the fat file's entries");
  for (uint32_t i = 0; i < count; ++i) {
    const uint64_t entry = i * entry_size;
    if (big(entries, entry) != uint32_t(processor))
      continue;
    if (magic == kFat)
      return file.part(big(entries, entry + 8), big(entries, entry + 12), "the image's bytes");
    return file.part(big64(entries, entry + 8), big64(entries, entry + 16), "the image's bytes");
  }
  throw Unloadable(std::string("holds no image for ") + name_of(processor));
}

} // namespace veltro::loader
