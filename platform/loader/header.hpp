#pragma once

#include "bytes.hpp"

#include <vector>

namespace veltro::loader {

/// The processors whose images are read, by the numbers that files give them.
enum class Processor : uint32_t { x86_64 = 0x01000007, arm64 = 0x0100000c, armv7 = 12 };

/// The processor of this process.
#if defined(__x86_64__)
constexpr Processor kThisProcessor = Processor::x86_64;
#elif defined(__aarch64__)
constexpr Processor kThisProcessor = Processor::arm64;
#else
constexpr Processor kThisProcessor = Processor::armv7;
#endif

constexpr const char *name_of(Processor processor) {
  return processor == Processor::x86_64  ? "x86_64"
         : processor == Processor::arm64 ? "arm64"
                                         : "armv7";
}

struct Segment {
  std::string_view name;
  uint64_t address = 0, size = 0, file_offset = 0, file_size = 0;
  bool readable = false, writable = false, executable = false;
  bool constant = false; // no longer written once it is bound
  uint64_t end() const { return address + size; }
};

struct Section {
  std::string_view segment, name;
  uint64_t address = 0, size = 0;
};

/// What a Mach-O header and its load commands say of an image. The texts belong to the file.
struct Header {
  Processor processor = kThisProcessor;
  uint64_t word = 8;             // bytes
  std::vector<Segment> segments; // in the order of the file; none overlaps another
  std::vector<Section> sections; // each within a segment
  Bytes rebases, binds, lazy_binds, exports;
  uint64_t start = 0, end = 0; // the addresses that the image takes
};

/// The image for `processor` in a thin or fat file.
Bytes slice_for(Bytes file, Processor processor);

/// Reads what slice_for() returned. Throws Unloadable for what this loader does not take.
Header read_header(Bytes slice, Processor processor);

} // namespace veltro::loader
