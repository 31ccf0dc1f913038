#include "image.hpp"

#include <algorithm>

namespace veltro::loader {
namespace {

[[noreturn]] void outside(const char *what) {
  throw Unloadable(std::string("broken: ") + what + " outside of the image's contents");
}

} // namespace

Image::Image(Bytes slice, Processor processor)
    : slice_(slice), header_(read_header(slice, processor)), fixups_(read_fixups(header_)) {}

const Segment &Image::segment_of(uint64_t address, const char *what) const {
  for (const Segment &segment : header_.segments)
    if (address >= segment.address && address - segment.address < segment.size)
      return segment;
  outside(what);
}

Bytes Image::from(uint64_t address, const char *what) const {
  const Segment &segment = segment_of(address, what);
  const uint64_t offset = address - segment.address;
  if (offset >= segment.file_size)
    outside(what);
  return slice_.part(segment.file_offset + offset, segment.file_size - offset, what);
}

Bytes Image::at(uint64_t address, uint64_t size, const char *what) const {
  if (size == 0)
    return {{}, what};
  const Bytes all = from(address, what);
  if (size > all.size())
    outside(what);
  return all.part(0, size, what);
}

Pointer Image::pointer(uint64_t address, const char *what) const {
  const uint64_t value = at(address, word(), what).word(0, word());
  const auto bind = std::ranges::lower_bound(fixups_.binds, address, {}, &Bind::address);
  if (bind != fixups_.binds.end() && bind->address == address) {
    if (bind->addend != 0)
      throw Unloadable(std::string("broken: ") + what + " point into what is imported");
    return {.import = &fixups_.symbols[bind->symbol]};
  }
  if (value == 0)
    return {};
  if (!std::ranges::binary_search(fixups_.rebases, address))
    throw Unloadable(std::string("broken: ") + what + " point to a place that is not rebased");
  (void)segment_of(value, what);
  return {.address = value};
}

uint64_t Image::local_pointer(uint64_t address, const char *what) const {
  const Pointer pointer = this->pointer(address, what);
  if (pointer.import)
    throw Unloadable(std::string("broken: ") + what + " are imported");
  return pointer.address;
}

uint64_t Image::target(uint64_t address, const char *what) const {
  const uint64_t target = local_pointer(address, what);
  if (target == 0)
    throw Unloadable(std::string("broken: null in place of ") + what);
  return target;
}

void Image::check_code(uint64_t address, uint64_t size, const char *what) const {
  const Segment &segment = segment_of(address, what);
  if (!segment.executable || size > segment.file_size ||
      address - segment.address > segment.file_size - size)
    throw Unloadable(std::string("broken: ") + what + " are not code");
}

void Image::check_data(uint64_t address, uint64_t size, const char *what) const {
  const Segment &segment = segment_of(address, what);
  if (!segment.writable || size > segment.end() - address)
    throw Unloadable(std::string("broken: ") + what + " cannot be written");
}

std::vector<Section> Image::data_sections(std::string_view name) const {
  std::vector<Section> found;
  for (const Section &section : header_.sections)
    if (section.name == name && section.segment.starts_with("__DATA") && section.size > 0)
      found.push_back(section);
  return found;
}

} // namespace veltro::loader
