#import <VeltroHost/VHImageReading.h>

#include "frameworks/UIKit/image_file.h"
#include "machine/text/utf8.hpp"

namespace {

std::span<const std::uint8_t> bytes_of(NSData *data) {
  return {static_cast<const std::uint8_t *>([data bytes]), [data length]};
}

void tell(NSString **problem, const std::string &text) {
  if (problem != nullptr && !text.empty())
    *problem = veltro::host::string_of(text);
}

} // namespace

extern "C" {

CGSize VHImageSize(NSData *data, NSString **problem) {
  const veltro::host::ImageFile file =
      veltro::host::read_image(bytes_of(data), {.size_only = true});
  tell(problem, file.problem);
  return file.problem.empty()
             ? CGSizeMake(static_cast<CGFloat>(file.width), static_cast<CGFloat>(file.height))
             : CGSizeZero;
}

UIImage *VHReadImage(NSData *data, NSUInteger max_pixels, NSUInteger least_side,
                     NSString **problem) {
  const veltro::host::ImageFile file = veltro::host::read_image(
      bytes_of(data), {.max_pixels = max_pixels, .least_side = least_side});
  tell(problem, file.problem);
  return [[[UIImage alloc] initWithFile:file scale:1] autorelease];
}

} // extern "C"
