#include "contents.hpp"

#include "argument_words.hpp"
#include "call_frames.hpp"
#include "constant_strings.hpp"
#include "widening.hpp"

namespace veltro::loader {
namespace {

/// That methods can be called from Linux's code.
void check_types(const objc::Metadata &metadata, Processor processor) {
  const auto check = [processor](const auto &owners) {
    for (const auto &owner : owners)
      for (const auto *const methods : {&owner.methods, &owner.class_methods})
        for (const objc::Method &method : *methods)
          if (processor == Processor::arm64)
            (void)objc::widening_instructions(method.types);
          else
            (void)objc::argument_words(method.types);
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
  if (processor != Processor::x86_64)
    check_types(metadata, processor);
  for (const FrameEntry &frame : frames)
    (void)call_frame_instructions(processor, frame);
  // Pointers into the image's imports stay right: they are kept where a move does not reach them.
  return {std::move(image), std::move(exports), std::move(metadata), std::move(frames)};
}

} // namespace veltro::loader
