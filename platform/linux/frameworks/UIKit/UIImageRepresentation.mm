// UIImagePNGRepresentation and UIImageJPEGRepresentation. Follow Apple's UIKit function reference.

#import <UIKit/UIImage.h>

#include "frameworks/CoreGraphics/image.hpp"
#include "frameworks/UIKit/image_orientation.hpp"
#include "machine/images/image_writing.hpp"

namespace {

NSData *data_of(const std::vector<std::uint8_t> &file) {
  return file.empty() ? nil : [NSData dataWithBytes:file.data() length:file.size()];
}

} // namespace

extern "C" {

NSData *UIImagePNGRepresentation(UIImage *image) {
  const veltro::host::Pixels *const pixels = veltro::host::pixels_of([image CGImage]);
  return pixels != nullptr ? data_of(veltro::host::write_png(*pixels)) : nil;
}

NSData *UIImageJPEGRepresentation(UIImage *image, CGFloat quality) {
  const veltro::host::Pixels *const pixels = veltro::host::pixels_of([image CGImage]);
  if (pixels == nullptr)
    return nil;
  const int orientation = veltro::host::file_orientation([image imageOrientation]);
  return data_of(veltro::host::write_jpeg(*pixels, quality, orientation));
}

} // extern "C"
