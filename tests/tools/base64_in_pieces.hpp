// One text through either decoder as a whole, and in pieces.
#pragma once

#include "tools/veltro/io/base64_decoder.hpp"

#import <veltro/ZLTUtils+Base64.h>

#include <algorithm>
#include <optional>

namespace veltro::test {

using Decoded = std::optional<std::string>;

/// The codec's own result for the whole text; a text with a zero is refused before it gets there.
inline Decoded decoded_whole(const std::string &text, bool lenient) {
  @autoreleasepool {
    if (text.find('\0') != std::string::npos)
      return std::nullopt;
    NSString *const string = [[[NSString alloc] initWithBytes:text.data()
                                                       length:text.size()
                                                     encoding:NSASCIIStringEncoding] autorelease];
    NSData *const data =
        lenient ? [ZLTUtils decodeBase64WithString:string] : [ZLTUtils base64DecodeString:string];
    if (string == nil || data == nil)
      return std::nullopt;
    return std::string(static_cast<const char *>([data bytes]), [data length]);
  }
}

/// The result for the text in pieces of the sizes that `next_size` gives; `most_held` becomes what
/// was kept between two of them at most.
template <typename Size>
Decoded decoded_in_pieces(std::string_view text, bool lenient, const Size &next_size,
                          std::size_t &most_held) {
  tool::Base64Decoder decoder(lenient);
  std::string bytes;
  most_held = 0;
  while (!text.empty()) {
    const std::size_t size = std::min<std::size_t>(next_size(), text.size());
    if (!decoder.take(text.substr(0, size), bytes))
      return std::nullopt;
    most_held = std::max(most_held, decoder.held());
    text.remove_prefix(size);
  }
  return decoder.finish(bytes) ? Decoded(bytes) : std::nullopt;
}

} // namespace veltro::test
