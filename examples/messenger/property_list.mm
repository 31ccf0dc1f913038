#include "property_list.hpp"

#include "property_list_guard.hpp"

namespace veltro::messenger {

id property_list(NSData *bytes) {
  if (!is_harmless_property_list({static_cast<const std::byte *>([bytes bytes]), [bytes length]}))
    return nil;
  return [NSPropertyListSerialization propertyListWithData:bytes
                                                   options:NSPropertyListImmutable
                                                    format:nullptr
                                                     error:nullptr];
}

} // namespace veltro::messenger
