// Reading pictures of unknown origin, as `veltro round` does: PNG and JPEG files that are damaged
// in a few places, truncated, or nothing of the kind.
#import <VeltroHost/VHImageReading.h>
#import <veltro/veltro.h>

#import <UIKit/UIKit.h>

#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMaxPixels = 1 << 20;

Bytes bytes_of(NSData *data) {
  const auto *const first = static_cast<const std::uint8_t *>([data bytes]);
  return {first, first + [data length]};
}

UIImage *picture(BOOL opaque, UIImageOrientation orientation) {
  UIGraphicsBeginImageContextWithOptions(CGSizeMake(24, 16), opaque, 1);
  for (int stripe = 0; stripe < 8; ++stripe) {
    CGContextSetRGBFillColor(UIGraphicsGetCurrentContext(), stripe / 8.0, 0.5, 1 - stripe / 8.0,
                             0.75);
    UIRectFill(CGRectMake(stripe * 3, stripe, 5, 9));
  }
  UIImage *const drawn = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return [UIImage imageWithCGImage:[drawn CGImage] scale:1 orientation:orientation];
}

/// Whole files to damage.
const std::vector<Bytes> &whole_files() {
  static const std::vector<Bytes> files = [] {
    @autoreleasepool {
      return std::vector<Bytes>{
          bytes_of(UIImagePNGRepresentation(picture(NO, UIImageOrientationUp))),
          bytes_of(UIImagePNGRepresentation(picture(YES, UIImageOrientationUp))),
          bytes_of(UIImageJPEGRepresentation(picture(YES, UIImageOrientationLeft), 0.5)),
          bytes_of(UIImageJPEGRepresentation(picture(YES, UIImageOrientationUp), 1)),
      };
    }
  }();
  return files;
}

std::uint32_t checksum(std::span<const std::uint8_t> bytes) {
  std::uint32_t value = 0xFFFFFFFF;
  for (const std::uint8_t byte : bytes) {
    value ^= byte;
    for (int bit = 0; bit < 8; ++bit)
      value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
  }
  return ~value;
}

/// Makes the checksums of a damaged PNG right again, so that the damage is read and not refused.
void patch_checksums(std::span<std::uint8_t> rest) {
  while (rest.size() >= 12) {
    const std::size_t length = std::size_t{rest[0]} << 24 | std::size_t{rest[1]} << 16 |
                               std::size_t{rest[2]} << 8 | rest[3];
    if (length > rest.size() - 12)
      return;
    const std::uint32_t value = checksum(rest.subspan(4, length + 4));
    for (std::size_t place = 0; place < 4; ++place)
      rest[length + 8 + place] = static_cast<std::uint8_t>(value >> (24 - 8 * place));
    rest = rest.subspan(length + 12);
  }
}

/// The first byte chooses a whole file, whose end the second may cut off; every three bytes after
/// them put another byte at a place. With a first byte of none of them the rest is the file.
Bytes file_of(std::span<const std::uint8_t> input) {
  if (input.size() < 2 || input[0] % 8 >= whole_files().size())
    return {input.begin(), input.end()};
  Bytes file = whole_files()[input[0] % 8];
  const bool patched = input[0] % 8 < 2 && input[0] >= 128;
  const std::size_t cut = input[1] < 200 ? 0 : (input[1] - 199U) * file.size() / 64;
  for (input = input.subspan(2); input.size() >= 3; input = input.subspan(3))
    file[(input[0] * 256U + input[1]) % file.size()] = input[2];
  file.resize(file.size() - cut);
  if (patched && file.size() > 8)
    patch_checksums(std::span(file).subspan(8));
  return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *input, std::size_t size) {
  @autoreleasepool {
    const Bytes file = file_of({input, size});
    NSData *const data = [NSData dataWithBytes:file.data() length:file.size()];
    NSString *problem = nil;
    UIImage *const image = VHReadImage(data, kMaxPixels, size % 2 == 0 ? 8 : 0, &problem);
    // Either there is an image or there is a reason why not.
    if ((image == nil) == (problem == nil))
      std::abort();
    const CGSize pixels = VHImageSize(data, nullptr);
    if (image != nil && pixels.width * pixels.height > kMaxPixels)
      std::abort();
    UIImage *const rounded = [ZLTUtils roundedImage:image width:9 height:7];
    if ((image == nil) != (rounded == nil))
      std::abort();
  }
  return 0;
}
