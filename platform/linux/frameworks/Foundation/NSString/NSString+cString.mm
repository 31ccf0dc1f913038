// -[NSString cStringUsingEncoding:] and -UTF8String return NULL where the text does not fit;
// GNUstep raises. Follows Apple's NSString class reference.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"

#include <objc/runtime.h>
#include <string_view>
#include <utility>

namespace {

using CString = const char *(*)(id, SEL, NSStringEncoding);

constexpr const char *kSelector = "cStringUsingEncoding:";

// Those of the string cluster that implement the method.
constexpr const char *kClasses[] = {"NSString", "GSCString", "GSUnicodeString", "GSMutableString",
                                    "GSImmutableString"};
CString originals[std::size(kClasses)];

/// As Latin 1, which most strings are held in and GNUstep copies as it is; ASCII it converts a
/// character at a time, and an empty string it refuses.
const char *ascii(CString original, NSString *string, SEL selector) {
  const char *const text = original(string, selector, NSISOLatin1StringEncoding);
  const std::string_view bytes(text, text != nullptr ? [string length] : 0);
  unsigned char all = 0;
  for (const char byte : bytes)
    all |= static_cast<unsigned char>(byte);
  return all < 0x80 ? text : nullptr;
}

/// Stands in the place of the original of one class, so that a subclass's call of super reaches its
/// superclass's own original.
template <std::size_t Index>
const char *c_string_or_null(id self, SEL selector, NSStringEncoding encoding) {
  @try {
    if (encoding == NSASCIIStringEncoding)
      return ascii(originals[Index], self, selector);
    return originals[Index](self, selector, encoding);
  } @catch (NSException *exception) {
    if (![[exception name] isEqualToString:NSCharacterConversionException])
      @throw;
  }
  return nullptr;
}

// No message to a string here: its +initialize would settle the encoding of C strings before the
// process's locale and arguments are known.
template <std::size_t... Index> void patch(std::index_sequence<Index...>) {
  ((originals[Index] = veltro::host::replace_method(objc_getClass(kClasses[Index]), kSelector,
                                                    c_string_or_null<Index>)),
   ...);
}

} // namespace

VH_AT_LOAD(VHStringCStrings) {
  patch(std::make_index_sequence<std::size(kClasses)>());
  // Those that can hold half a surrogate pair.
  for (const char *name : {"GSUnicodeString", "GSMutableString"})
    veltro::host::replace_method(
        objc_getClass(name), "UTF8String",
        +[](NSString *self, SEL) { return [self cStringUsingEncoding:NSUTF8StringEncoding]; });

  // The runtime does not pass a changed method on to the class of literals: it gets one of its own.
  const Class literals = objc_getClass("NSConstantString");
  const Method inherited =
      class_getInstanceMethod(objc_getClass("NSString"), sel_registerName(kSelector));
  class_addMethod(literals, sel_registerName(kSelector), method_getImplementation(inherited),
                  method_getTypeEncoding(inherited));
}
