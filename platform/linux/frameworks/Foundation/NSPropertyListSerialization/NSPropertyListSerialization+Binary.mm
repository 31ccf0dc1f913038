// Binary property lists, and with them keyed archives, in a time that grows with their size.
// GNUstep looks for every object among all objects written before it, so that ten thousand messages
// take minutes. What cannot be written, it still refuses itself, with its own error.

#include "frameworks/Foundation/NSPropertyListSerialization/binary_property_list.hpp"
#include "frameworks/Foundation/replace_method.hpp"

#include <objc/runtime.h>

namespace {

using WithDescription = id (*)(id, SEL, id, NSPropertyListFormat, NSString **);
using WithError = id (*)(id, SEL, id, NSPropertyListFormat, NSPropertyListWriteOptions, NSError **);

WithDescription with_description;
WithError with_error;

NSData *quickly(id list, NSPropertyListFormat format) {
  // Initializes the class: a first message that finds a replaced method does not.
  [NSPropertyListSerialization class];
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

} // namespace

VH_AT_LOAD(VHBinaryPropertyLists) {
  using veltro::host::replace_class_method;
  const Class serialization = objc_getClass("NSPropertyListSerialization");
  with_description = replace_class_method(
      serialization, "dataFromPropertyList:format:errorDescription:", data_with_description);
  with_error = replace_class_method(serialization,
                                    "dataWithPropertyList:format:options:error:", data_with_error);
}
