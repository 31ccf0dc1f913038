// Text between Foundation and plain C++, which has it in UTF-8.
#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

namespace veltro::host {

/// The text of `string`; empty for nil, and for what has no UTF-8 (half a surrogate pair).
inline std::string utf8_of(NSString *string) {
  // Where UTF8String raises, this is null.
  const char *const text = [string cStringUsingEncoding:NSUTF8StringEncoding];
  return text != nullptr ? text : "";
}

/// The bytes of `data`, which has to live as long as they are used; none for nil.
inline std::string_view bytes_of(NSData *data) {
  return {static_cast<const char *>([data bytes]), [data length]};
}

/// The string of `text` (autoreleased); nil where it is no UTF-8.
inline NSString *string_of(const std::string &text) {
  return [NSString stringWithUTF8String:text.c_str()];
}

} // namespace veltro::host
