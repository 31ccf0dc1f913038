#include "base64_decoder.hpp"

#import <veltro/ZLTUtils+Base64.h>

#include <utility>

namespace veltro::tool {
namespace {

bool is_value(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
         (character >= '0' && character <= '9') || character == '+' || character == '/';
}

/// How many characters of `text` end with a whole group. Both codecs decode such a piece by itself
/// as they do within the whole.
std::size_t whole_groups(std::string_view text) {
  std::size_t end = 0;
  std::size_t values = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (is_value(text[at]))
      ++values;
    if (values % 4 == 0)
      end = at + 1;
  }
  return end;
}

} // namespace

bool Base64Decoder::take(std::string_view piece, std::string &bytes) {
  text_ += piece;
  return decode(whole_groups(text_), bytes) && keep_what_counts();
}

bool Base64Decoder::finish(std::string &bytes) {
  return decode(text_.size(), bytes);
}

/// Decodes the first `size` characters and takes them off.
bool Base64Decoder::decode(std::size_t size, std::string &bytes) {
  @autoreleasepool {
    // A zero would end the codec's text in its middle.
    if (text_.find('\0') < size)
      return false;
    NSString *const piece = [[[NSString alloc] initWithBytes:text_.data()
                                                      length:size
                                                    encoding:NSASCIIStringEncoding] autorelease];
    NSData *const data =
        lenient_ ? [ZLTUtils decodeBase64WithString:piece] : [ZLTUtils base64DecodeString:piece];
    if (piece == nil || data == nil)
      return false;
    bytes.append(static_cast<const char *>([data bytes]), [data length]);
  }
  text_.erase(0, size);
  return true;
}

/// Drops what is skipped from the open group; false where there is what no continuation saves.
bool Base64Decoder::keep_what_counts() {
  std::string values;
  for (const char character : std::exchange(text_, {})) {
    if (is_value(character))
      values += character;
    else if (!skips(character, values.size()))
      return false;
  }
  text_ = std::move(values);
  return true;
}

/// Whether the codec skips the character, no value, after `place` values of a group, and goes on as
/// if it had not been there.
bool Base64Decoder::skips(char character, std::size_t place) const {
  // After a group's first value the lenient codec lets "=" pass only before another one, so that a
  // row of them always fails at its last.
  if (character == '=')
    return !lenient_ || place != 1;
  return std::string_view(lenient_ ? "\t\n\f\r " : "\t\n\v\f\r ").find(character) !=
         std::string_view::npos;
}

} // namespace veltro::tool
