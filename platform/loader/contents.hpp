#pragma once

#include "exports.hpp"
#include "objc_metadata.hpp"
#include "unwind_info.hpp"

namespace veltro::loader {

/// All that is read of an image before this process is changed. Its texts belong to the file.
struct Contents {
  Image image;
  Exports exports;
  objc::Metadata metadata;
  std::vector<FrameEntry> frames;
};

/// Reads the image for `processor` in a file. Throws Unloadable, with the reason, for whatever this
/// loader does not take: what it returns can be mapped and registered without another look at its
/// form.
Contents read_contents(Bytes file, Processor processor);

} // namespace veltro::loader
