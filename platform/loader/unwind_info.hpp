#pragma once

#include "image.hpp"

namespace veltro::loader {

/// How the frames of a stretch of code are unwound, in the compact form of its processor.
struct FrameEntry {
  uint64_t start = 0, end = 0; // addresses
  uint32_t encoding = 0;
  uint32_t stack_size = 0; // bytes, where x86-64's encoding says that it stands in the code; else 0
  uint64_t personality =
      0; // where the image keeps the address of the routine that exceptions ask; 0 for none
  uint64_t language_data = 0; // address of what that routine reads; 0 for none
};

/// Reads the image's __unwind_info, leaving out stretches that say nothing.
std::vector<FrameEntry> read_unwind_info(const Image &image);

} // namespace veltro::loader
