// -[NSString cStringUsingEncoding:] returns NULL where the string does not fit the encoding;
// GNUstep raises. Every class of the string cluster that implements the method is patched. Follows
// Apple's NSString class reference.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"

#include <objc/runtime.h>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using CString = const char *(*)(id, SEL, NSStringEncoding);

constexpr std::size_t kMostClasses = 32;
CString originals[kMostClasses];

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
template <std::size_t Slot>
const char *c_string_or_null(id self, SEL selector, NSStringEncoding encoding) {
  @try {
    if (encoding == NSASCIIStringEncoding)
      return ascii(originals[Slot], self, selector);
    return originals[Slot](self, selector, encoding);
  } @catch (NSException *exception) {
    if (![[exception name] isEqualToString:NSCharacterConversionException])
      @throw;
  }
  return nullptr;
}

template <std::size_t... Slots>
CString replacement(std::size_t slot, std::index_sequence<Slots...>) {
  static constexpr CString kAll[] = {c_string_or_null<Slots>...};
  return kAll[slot];
}

constexpr const char *kSelector = "cStringUsingEncoding:";

/// Whether it is a string class that implements the method itself.
bool implements(Class candidate) {
  const Class string = objc_getClass("NSString");
  Class ancestor = candidate;
  while (ancestor != Nil && ancestor != string)
    ancestor = class_getSuperclass(ancestor);
  const SEL selector = sel_registerName(kSelector);
  return candidate == string ||
         (ancestor == string &&
          class_getInstanceMethod(candidate, selector) !=
              class_getInstanceMethod(class_getSuperclass(candidate), selector));
}

} // namespace

VH_AT_LOAD(VHStringCStrings) {
  // No message to a string here: its +initialize would settle the encoding of C strings before the
  // process's locale and arguments are known.
  std::vector<Class> classes(static_cast<std::size_t>(objc_getClassList(nullptr, 0)));
  objc_getClassList(classes.data(), static_cast<int>(classes.size()));
  std::size_t slot = 0;
  for (const Class candidate : classes)
    if (slot < kMostClasses && implements(candidate)) {
      originals[slot] = veltro::host::replace_method(
          candidate, kSelector, replacement(slot, std::make_index_sequence<kMostClasses>()));
      ++slot;
    }

  // The runtime does not pass a changed method on to the class of literals: it gets one of its own.
  const Class literals = objc_getClass("NSConstantString");
  const Method inherited =
      class_getInstanceMethod(objc_getClass("NSString"), sel_registerName(kSelector));
  class_addMethod(literals, sel_registerName(kSelector), method_getImplementation(inherited),
                  method_getTypeEncoding(inherited));
}
