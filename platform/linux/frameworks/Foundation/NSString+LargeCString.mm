// +stringWithCString:encoding: for a megabyte of ASCII and more, which GNUstep looks at and copies
// a character at a time. Everything else is GNUstep's.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t large = std::size_t{1} << 20;

using Method = id (*)(Class, SEL, const char *, NSStringEncoding);
constinit Method gnustep_method = nullptr;

bool is_ascii(std::string_view text) {
  unsigned char all = 0;
  for (const char character : text)
    all |= static_cast<unsigned char>(character);
  return all < 0x80;
}

void *copy_of(std::string_view text) {
  // Malloc keeps for later what is at most twice the largest block that it had from the kernel:
  // with some room to spare, that holds this copy and what it was made from.
  void *const copy = std::malloc(text.size() + text.size() / 16);
  return copy != nullptr ? std::memcpy(copy, text.data(), text.size()) : nullptr;
}

id string_with_c_string(Class self, SEL selector, const char *characters,
                        NSStringEncoding encoding) {
  const std::string_view text(
      encoding == NSASCIIStringEncoding && characters != nullptr ? characters : "");
  void *const copy = text.size() >= large && is_ascii(text) ? copy_of(text) : nullptr;
  if (copy == nullptr)
    return gnustep_method(self, selector, characters, encoding);
  // ASCII is Latin 1, which GNUstep does not look at again.
  return [[[self alloc] initWithBytesNoCopy:copy
                                     length:text.size()
                                   encoding:NSISOLatin1StringEncoding
                               freeWhenDone:YES] autorelease];
}

} // namespace

@interface VHLargeCStrings : NSObject
@end

@implementation VHLargeCStrings

+ (void)load {
  gnustep_method = veltro::host::replace_class_method(
      objc_getClass("NSString"), "stringWithCString:encoding:", string_with_c_string);
}

@end
