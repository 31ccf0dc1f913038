// -[NSString cStringUsingEncoding:] answers NULL where the string does not fit the encoding;
// GNUstep raises. Every class of the string cluster that implements the method is patched. Follows
// Apple's NSString class reference.

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <objc/runtime.h>
#include <string_view>
#include <utility>

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
  static constexpr CString all[] = {c_string_or_null<Slots>...};
  return all[slot];
}

bool is_string_class(Class candidate) {
  const Class string = objc_getClass("NSString");
  while (candidate != Nil && candidate != string)
    candidate = class_getSuperclass(candidate);
  return candidate == string;
}

} // namespace

@interface VHStringCStrings : NSObject
@end

@implementation VHStringCStrings

+ (void)load {
  // No message to a string here: its +initialize would settle the encoding of C strings before the
  // process's locale and arguments are known.
  const SEL selector = @selector(cStringUsingEncoding:);
  const int count = objc_getClassList(nullptr, 0);
  auto *const classes =
      static_cast<Class *>(std::calloc(static_cast<std::size_t>(count), sizeof(Class)));
  objc_getClassList(classes, count);
  std::size_t slot = 0;
  for (int index = 0; index < count && slot < kMostClasses; ++index) {
    if (!is_string_class(classes[index]))
      continue;
    unsigned method_count = 0;
    Method *const methods = class_copyMethodList(classes[index], &method_count);
    for (unsigned method = 0; method < method_count; ++method)
      if (sel_isEqual(method_getName(methods[method]), selector)) {
        originals[slot] = reinterpret_cast<CString>(
            reinterpret_cast<void *>(method_getImplementation(methods[method])));
        method_setImplementation(methods[method],
                                 reinterpret_cast<IMP>(reinterpret_cast<void *>(
                                     replacement(slot, std::make_index_sequence<kMostClasses>()))));
        ++slot;
      }
    std::free(methods);
  }
  std::free(classes);

  // The runtime does not pass a changed method on to the class of literals: it gets one of its own.
  const Class literals = objc_getClass("NSConstantString");
  const Method inherited = class_getInstanceMethod(objc_getClass("NSString"), selector);
  class_addMethod(literals, selector, method_getImplementation(inherited),
                  method_getTypeEncoding(inherited));
}

@end
