#include "property_list.hpp"

namespace veltro::messenger {

id property_list(NSData *bytes) {
  NSPropertyListFormat format{};
  id const list = [NSPropertyListSerialization propertyListWithData:bytes
                                                            options:NSPropertyListImmutable
                                                             format:&format
                                                              error:nullptr];
  return format == NSPropertyListBinaryFormat_v1_0 ? list : nil;
}

} // namespace veltro::messenger
