#include "contents.hpp"

#include "call_frames.hpp"
#include "constant_strings.hpp"
#include "widening.hpp"

namespace veltro::loader {
namespace {

void check_types(const objc::Metadata &metadata) {
  const auto check = [](const auto &owners) {
    for (const auto &owner : owners)
      for (const auto *const methods : {&owner.methods, &owner.class_methods})
        for (const objc::Method &method : *methods)
          (void)objc::widening_instructions(method.types);
  };
  check(metadata.classes);
  check(metadata.categories);
}

} // namespace

Contents read_contents(Bytes file, Processor processor) {
  Image image(slice_for(file, processor), processor);
  Exports exports = read_exports(image);
  objc::Metadata metadata = objc::read_metadata(image);
  std::vector<FrameEntry> frames = read_unwind_info(image);
  objc::check_constant_strings(metadata, image);
  if (processor == Processor::arm64)
    check_types(metadata);
  for (const FrameEntry &frame : frames)
    (void)call_frame_instructions(processor, frame);
  // Pointers into the image's imports stay right: they are kept where a move does not reach them.
  return {std::move(image), std::move(exports), std::move(metadata), std::move(frames)};
}

} // namespace veltro::loader
