// Binary property lists, and with them keyed archives, in a time that grows with their size.
// GNUstep looks for every object among all objects written before it, so that ten thousand messages
// take minutes. What cannot be written, it still refuses itself, with its own error.

#include "frameworks/Foundation/binary_property_list.hpp"

#include <objc/runtime.h>

namespace {

using WithDescription = id (*)(id, SEL, id, NSPropertyListFormat, NSString **);
using WithError = id (*)(id, SEL, id, NSPropertyListFormat, NSPropertyListWriteOptions, NSError **);

WithDescription with_description;
WithError with_error;

NSData *quickly(id list, NSPropertyListFormat format) {
  return format == NSPropertyListBinaryFormat_v1_0 ? veltro::host::binary_property_list(list) : nil;
}

id data_with_description(id self, SEL selector, id list, NSPropertyListFormat format,
                         NSString **description) {
  NSData *const data = quickly(list, format);
  return data != nil ? data : with_description(self, selector, list, format, description);
}

id data_with_error(id self, SEL selector, id list, NSPropertyListFormat format,
                   NSPropertyListWriteOptions options, NSError **error) {
  NSData *const data = quickly(list, format);
  return data != nil ? data : with_error(self, selector, list, format, options, error);
}

template <typename Function>
void replace(SEL selector, Function *replacement, Function *&original) {
  original = reinterpret_cast<Function *>(reinterpret_cast<void *>(method_setImplementation(
      class_getClassMethod(objc_getClass("NSPropertyListSerialization"), selector),
      reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)))));
}

} // namespace

@interface VHBinaryPropertyLists : NSObject
@end

@implementation VHBinaryPropertyLists

+ (void)load {
  replace(@selector(dataFromPropertyList:format:errorDescription:), data_with_description,
          with_description);
  replace(@selector(dataWithPropertyList:format:options:error:), data_with_error, with_error);
}

@end
